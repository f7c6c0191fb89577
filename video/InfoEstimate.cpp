#include "video/InfoEstimate.h"

#include <algorithm>

#include "demux/DurationScan.h"
#include "log/DebugLine.h"

// NOLINTNEXTLINE(performance-unnecessary-value-param): a reference of its own is what keeps the context open
void infoEstimate(QSharedPointer<AVFormatContext> context, qint64& durationMs)
{
    if (durationMs > 0 || !context)
        return;
    const Vantor::PacketSpans spans = Vantor::scanPacketSpans(*context);
    if (spans.timedOut)
        debugLine() << "InfoEstimate timeOut";
    const auto& lengths = spans.lengthsMs;
    const auto length = std::find_if(lengths.begin(), lengths.end(), [](qint64 ms) { return ms != 0; });
    if (length != lengths.end())
        durationMs = spans.timedOut ? 0 : *length;
}
