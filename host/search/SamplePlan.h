#pragma once

#include "host/media/ToolRun.h"

/// What one sample of the module's covers, from its beginning.
constexpr qint64 kSampleMs = 15000;

/// Where to cut samples from a video of that length: their beginnings, in milliseconds, in order. Empty when
/// the module's own sample, of the video's beginning, is enough; that is for videos of up to two minutes.
QList<qint64> sampleBeginnings(qint64 videoMs);

/// Copies what one sample covers out of a video, without encoding it, to a new file: its image and its first
/// sound, beginning with the key frame before the asked place.
ToolCall sampleCut(const QString& videoPath, qint64 beginMs, const QString& piecePath);

/// Of a piece: a container that holds nearly every codec, and whose times begin at the key frame.
inline const QString kPieceSuffix = QStringLiteral("mkv");
