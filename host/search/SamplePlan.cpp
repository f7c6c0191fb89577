#include "host/search/SamplePlan.h"

namespace {

constexpr qint64 kLongVideoMs = 120000;
constexpr qint64 kSamples = 5;

} // namespace

// One in the middle of each fifth: titles and credits, which say little of a video, fill no sample.
QList<qint64> sampleBeginnings(qint64 videoMs)
{
    QList<qint64> beginnings;
    if (videoMs <= kLongVideoMs)
        return beginnings;
    for (qint64 i = 0; i < kSamples; ++i)
        beginnings.append(videoMs * (2 * i + 1) / (2 * kSamples) - kSampleMs / 2);
    return beginnings;
}
