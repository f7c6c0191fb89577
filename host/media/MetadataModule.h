#pragma once

#include <QByteArray>
#include <QString>

#include "host/job/MediaFormat.h"

/// Metadata on its way from one image into another, through a library of its own: exiv2 is loaded by those
/// runs only that copy metadata.
struct MetadataCopy
{
    QByteArray source; ///< the bytes of the image that the metadata comes from
    QByteArray result; ///< those of the image that it goes into; after it empty: nothing to be copied
    MediaFormat format = MediaFormat::None; ///< of the result
    bool isTurnedUpright = false;           ///< the result needs no turning any more
    bool hasConvertedColours = false;       ///< the source's ICC profile is wrong for the result

    // What the caller has to put in, because exiv2 does not write it as others read it.
    QByteArray iccProfile;
    QByteArray exif;
    QString error; ///< for people; empty: all went well
};

/// The library's one function, `vxcMergeMetadata`. One call at a time; never throws.
using MergeMetadata = void (*)(MetadataCopy& copy);
