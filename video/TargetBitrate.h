#pragma once

#include <QString>

namespace Vantor {
struct MediaInfoV3;
}

/// The video bitrate, in thousands of bit/s, that brings a file near `percentage` percent of the source's
/// size, its audio left as it is. May be 0 or negative for a wish that cannot be met.
///
/// @param fallbackDurationMs the source's duration for a record that has none to speak of.
qint32 targetBitrateKbit(const Vantor::MediaInfoV3& source, const QString& percentage,
                         qint64 fallbackDurationMs);
