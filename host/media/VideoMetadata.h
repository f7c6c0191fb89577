#pragma once

#include "host/media/VideoFacts.h"

/// ffmpeg's arguments for a pass that gives a result back what of its source's creation time, chapters and
/// tags it lacks and its container can hold: its streams as they are, into `outputPath`, a new file with the
/// same suffix. Empty when there is nothing to give. Pure.
QStringList videoMetadataPass(const VideoFacts& source, const VideoFacts& result, const QString& sourcePath,
                              const QString& resultPath, const QString& outputPath);
