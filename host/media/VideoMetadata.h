#pragma once

#include <QString>
#include <QStringList>

#include "host/media/VideoFacts.h"

/// What of the source's creation time, chapters and tags its result lacks and the result's container can
/// hold, one word for each for people; empty when no further pass is needed. Pure.
QStringList missingVideoMetadata(const VideoFacts& source, const VideoFacts& result,
                                 const QString& outputSuffix);

/// ffmpeg's arguments for a pass that writes `outputPath`, a new file: the result's streams as they are, the
/// source's metadata. The suffix of the output chooses the container, and has to be the result's. Pure.
QStringList videoMetadataArguments(const VideoFacts& source, const VideoFacts& result,
                                   const QString& sourcePath, const QString& resultPath,
                                   const QString& outputPath);
