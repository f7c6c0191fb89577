#include "host/SizePrediction.h"

#include <algorithm>

namespace {

// The rest's bytes a second against the sample's. At a constant quality the bitrate follows the picture.
constexpr double kQualityLow = 0.75;
constexpr double kQualityHigh = 1.33;
constexpr double kFixedLow = 0.95;
constexpr double kFixedHigh = 1.05;

} // namespace

SizeRange predictSize(qint64 sampleBytes, qint64 sampleMs, qint64 wholeMs, bool isPercentage)
{
    const double restMs = double(std::max<qint64>(wholeMs - sampleMs, 0));
    const double restBytes = double(sampleBytes) * restMs / double(sampleMs);
    return {sampleBytes + qRound64(restBytes * (isPercentage ? kFixedLow : kQualityLow)),
            sampleBytes + qRound64(restBytes * (isPercentage ? kFixedHigh : kQualityHigh))};
}

QString savingRangeText(qint64 before, SizeRange after)
{
    const auto percentOf = [before](qint64 bytes) { return qRound(100.0 * double(bytes) / double(before)); };
    const int low = percentOf(after.low);
    const int high = percentOf(after.high);
    if (high <= 100)
        return QStringLiteral("saves %1 to %2 %").arg(100 - high).arg(100 - low);
    if (low >= 100)
        return QStringLiteral("%1 to %2 % larger").arg(low - 100).arg(high - 100);
    return QStringLiteral("from %1 % smaller to %2 % larger").arg(100 - low).arg(high - 100);
}
