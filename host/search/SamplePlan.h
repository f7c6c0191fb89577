#pragma once

#include <QList>

/// What one sample of the module's covers, from its beginning.
constexpr qint64 kSampleMs = 15000;

/// Where to cut samples from a video of that length: their beginnings, in milliseconds, in order. Empty when
/// the module's own sample, of the video's beginning, is enough; that is for videos of up to two minutes.
QList<qint64> sampleBeginnings(qint64 videoMs);
