#include "demux/DurationScan.h"

#include <QMap>

#include <algorithm>
#include <chrono>

#include "demux/FFmpeg.h"
#include "demux/Saturate.h"
#include "hostlibs/AvBridge.h"

namespace Vantor {

namespace {

using std::chrono::microseconds;
using namespace std::chrono_literals;

constexpr microseconds kLimit = 3s;
constexpr microseconds kLimitWithoutDuration = 6s;

// Of one stream, in its time base.
struct Span
{
    qint64 first = AV_NOPTS_VALUE;
    qint64 next = 0; // where a packet without a timestamp belongs
    qint64 end = 0;  // the furthest, never below 0

    void add(const AVPacket& packet)
    {
        const qint64 time = packet.pts == AV_NOPTS_VALUE ? packet.dts : packet.pts;
        if (first == AV_NOPTS_VALUE)
            first = time;
        next = av_sat_add64(time == AV_NOPTS_VALUE ? next : time, packet.duration);
        end = std::max(end, next);
    }

    qint64 lengthMs(AVRational timeBase) const
    {
        if (timeBase.den == 0)
            return 0;
        const qint64 length = first == AV_NOPTS_VALUE ? end : av_sat_sub64(end, first);
        return saturate<qint64>(av_q2d(timeBase) * 1000.0 * static_cast<double>(length));
    }
};

} // namespace

PacketSpans scanPacketSpans(AVFormatContext& context)
{
    const microseconds limit = context.duration > 0 ? kLimit : kLimitWithoutDuration;
    const qint64 startedAt = av_gettime_relative();
    QMap<int, Span> spans; // by stream index
    PacketSpans result;
    while (!result.timedOut) {
        const auto packet = makeAVPacketPtr(av_packet_alloc());
        if (!packet || av_read_frame(&context, packet.data()) < 0)
            break;
        spans[packet->stream_index].add(*packet);
        result.timedOut = av_gettime_relative() - startedAt > limit.count();
    }
    for (unsigned i = 0; i < context.nb_streams; ++i)
        result.lengthsMs.append(spans.value(static_cast<int>(i)).lengthMs(context.streams[i]->time_base));
    return result;
}

} // namespace Vantor
