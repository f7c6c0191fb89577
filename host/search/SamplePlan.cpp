#include "host/search/SamplePlan.h"

namespace {

constexpr qint64 kLongFilmMs = 120000;
constexpr qint64 kSamples = 5;

} // namespace

// One in the middle of each fifth: titles and credits, which say little of a film, fill no sample.
QList<qint64> sampleBeginnings(qint64 filmMs)
{
    QList<qint64> beginnings;
    if (filmMs <= kLongFilmMs)
        return beginnings;
    for (qint64 i = 0; i < kSamples; ++i)
        beginnings.append(filmMs * (2 * i + 1) / (2 * kSamples) - kSampleMs / 2);
    return beginnings;
}
