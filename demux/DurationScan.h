#pragma once

#include <QList>
#include <QtGlobal>

struct AVFormatContext;

namespace Vantor {

/// How long the packets of a source say that its streams are.
struct PacketSpans
{
    QList<qint64> lengthsMs; ///< by stream index; 0 for a stream without packets
    bool timedOut = false;   ///< the scan had no time to reach the end
};

/// Reads packets from where the context stands to the end, for at most 3 s (the container says a duration) or
/// 6 s and the read of one packet. A stream is as long as the way from its first presentation time to its
/// furthest end; packets without any timestamp follow each other by their durations. Afterwards the context
/// stands where the scan ended.
PacketSpans scanPacketSpans(AVFormatContext& context);

} // namespace Vantor
