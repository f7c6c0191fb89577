#include "video/TargetBitrate.h"

#include <algorithm>

#include "demux/Saturate.h"
#include "hostlibs/VxMediaInfo.h"

namespace {

// Below this the divisor of the bitrate would be zero.
constexpr qint64 kShortestDurationMs = 512;

// Thousands are counted in pairs of 512.
template <class Integer>
Integer pairsOf512(Integer value)
{
    return (value >> 9) * 2;
}

qint64 usableDurationMs(qint64 durationMs, qint64 fallbackDurationMs)
{
    return durationMs >= kShortestDurationMs ? durationMs : std::max(fallbackDurationMs, kShortestDurationMs);
}

} // namespace

qint32 targetBitrateKbit(const Vantor::MediaInfoV3& source, const QString& percentage,
                         qint64 fallbackDurationMs)
{
    qint64 audioBitrate = 0;
    for (const auto& stream : source.audioStreams)
        audioBitrate += stream->bitrate;

    // Single precision throughout: other bits here are other bitrates.
    float bits = static_cast<float>(source.size) * (percentage.toFloat() / 100.0F);
    bits = bits * 8.0F;
    bits = bits / static_cast<float>(pairsOf512(usableDurationMs(source.duration, fallbackDurationMs)));
    bits = bits - static_cast<float>(pairsOf512(audioBitrate));
    return pairsOf512(Vantor::saturate<qint32>(bits));
}
