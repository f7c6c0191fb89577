#pragma once

#include <QString>

struct AVFormatContext;

namespace Vantor {

/// Whether the input is of the Windows Media family, where a still picture is a video stream of a few
/// packets.
bool isWindowsMedia(const AVFormatContext& context);

/// Whether a stream of the Windows Media file at `path` is a still picture: at most three packets in the
/// whole file. Opens the file for itself and, when it is one, reads it to its end. False for every other
/// file, and for one that cannot be read.
bool probeStillVideo(const QString& path, int streamIndex);

} // namespace Vantor
