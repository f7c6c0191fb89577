#pragma once

#include <QByteArray>
#include <QString>

/// What the metadata module is asked to do: a library of its own, so that exiv2 is loaded by those runs only that
/// copy metadata.
struct MetadataRequest
{
    QByteArray source;                ///< the bytes of the image that the metadata comes from
    QByteArray result;                ///< the bytes of the image that it goes into
    bool isJpeg = false;              ///< the module writes EXIF and the ICC profile
    bool isPng = false;               ///< it writes neither
    bool isTurnedUpright = false;     ///< the result needs no turning any more
    bool hasConvertedColours = false; ///< the source's ICC profile is wrong for the result
};

struct MetadataAnswer
{
    QString error;     ///< for people; empty: all went well
    QByteArray result; ///< empty: there is nothing to be copied
    // What the caller has to put in, because exiv2 does not write it as others read it.
    QByteArray iccProfile;
    QByteArray exif;
};

/// The module's one function, `vxcMergeMetadata`. One call at a time; never throws.
using MergeMetadata = void (*)(const MetadataRequest& request, MetadataAnswer& answer);
