#pragma once

#include <QString>

#include "host/job/MediaFormat.h"
#include "host/media/ImageFacts.h"

class QIODevice;

/// What a file is by its content.
struct SourceFacts
{
    MediaKind kind = MediaKind::Unknown;
    MediaFormat format = MediaFormat::None;
    QString name;     ///< for people, such as "JPEG XL"; empty for MediaKind::Unknown
    QString problem;  ///< for people, why it is Unreadable
    ImageFacts image; ///< for MediaKind::Image

    /// How the file shows that it is cut, for people, such as "the image ends before its end-of-image
    /// marker". Empty where it is whole or nothing in it can tell. A video counts as cut when more than 1 % of
    /// the bytes are missing that its container states, or its index.
    QString damage;
};

/// Looks into a file. Reads some kilobytes as a rule and never more than the structure needs: the coded
/// pixels of a JPEG only where its last bytes are not its end. Any thread; never throws.
SourceFacts inspectSource(const QString& path);
/// The same for a file that is open for reading and can seek. The position is lost.
SourceFacts inspectSource(QIODevice& file);

/// The suffix, without a dot, of a link through which a video has to reach the module when its own suffix (in
/// any case, without a dot) makes the module take it for another container. Empty when its name is fine.
QString trueSuffix(const SourceFacts& facts, const QString& suffix);
