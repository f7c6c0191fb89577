#include "video/InfoEstimate.h"

#include <QMap>

#include <chrono>

#include "demux/FFmpeg.h"
#include "demux/Saturate.h"
#include "hostlibs/AvBridge.h"
#include "image/DebugLine.h"

namespace {

using std::chrono::microseconds;
using namespace std::chrono_literals;

constexpr microseconds kLimit = 3s;
constexpr microseconds kLimitWithoutDuration = 6s;

// What the packets say, by stream index, in the time base of the stream.
struct Spans
{
    QMap<int, qint64> first; // presentation timestamp
    QMap<int, qint64> end;   // the furthest, never below 0
    bool timedOut = false;

    void add(const AVPacket& packet)
    {
        const qint64 time = packet.pts == AV_NOPTS_VALUE ? packet.dts : packet.pts;
        if (time == AV_NOPTS_VALUE)
            return;
        if (!first.contains(packet.stream_index))
            first.insert(packet.stream_index, time);
        qint64& furthest = end[packet.stream_index];
        furthest = qMax(furthest, av_sat_add64(time, packet.duration));
    }
};

Spans scan(AVFormatContext* context)
{
    const microseconds limit = context->duration > 0 ? kLimit : kLimitWithoutDuration;
    const qint64 startedAt = av_gettime_relative();
    Spans spans;
    for (;;) {
        const auto packet = makeAVPacketPtr(av_packet_alloc());
        if (!packet || av_read_frame(context, packet.data()) < 0)
            return spans;
        spans.add(*packet);
        if (av_gettime_relative() - startedAt > limit.count()) {
            debugLine() << "InfoEstimate timeOut";
            spans.timedOut = true;
            return spans;
        }
    }
}

qint64 spanMs(const Spans& spans, const AVStream& stream)
{
    if (stream.time_base.den == 0)
        return 0;
    const qint64 span = av_sat_sub64(spans.end.value(stream.index), spans.first.value(stream.index));
    return Vantor::saturate<qint64>(av_q2d(stream.time_base) * 1000.0 * static_cast<double>(span));
}

} // namespace

void infoEstimate(const QSharedPointer<AVFormatContext>& context, qint64& durationMs)
{
    if (durationMs > 0 || !context)
        return;
    const Spans spans = scan(context.data());
    for (unsigned i = 0; i < context->nb_streams; ++i) {
        if (const qint64 ms = spanMs(spans, *context->streams[i])) {
            durationMs = spans.timedOut ? 0 : ms;
            return;
        }
    }
}
