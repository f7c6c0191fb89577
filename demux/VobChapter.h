#pragma once

#include <QList>
#include <QtGlobal>

namespace Vantor {

/// One stretch of one stream in which the decoding timestamps don't go back. Timestamps are in the time base
/// of the stream; where a packet has no presentation timestamp its decoding timestamp counts.
struct VobChapter
{
    qint32 streamIndex = 0;
    qint32 mediaType = -1;     ///< AVMediaType of the stream
    qint64 headPosInFile = -1; ///< byte position of the first packet
    qint64 tailPosInFile = -1; ///< byte position of the last packet
    qint64 outPtsBase = 0;     ///< what the first packet gets on the continuous timeline
    qint64 outDtsBase = 0;
    qint64 firstPts = 0; ///< the source's own
    qint64 firstDts = 0;
    qint64 lastPts = 0;
    qint64 lastDts = 0;
    bool startedWithoutPts = false; ///< the first packet had no presentation timestamp

    bool holds(qint64 pos) const { return headPosInFile <= pos && pos <= tailPosInFile; }
};

/// The chapters of a file: first those that ended at a jump back, in the order of the jumps, then the last
/// one of each stream.
struct VobChapterList
{
    QList<VobChapter> chapters;
    bool audioPtsFromDts = false; ///< an audio stream's last chapter started without presentation timestamps
};

/// `value` moved by the way from `from` to `to`. Wraps around: a damaged file may say anything.
inline qint64 shifted(qint64 value, qint64 from, qint64 to)
{
    return static_cast<qint64>(static_cast<quint64>(value) - static_cast<quint64>(from) +
                               static_cast<quint64>(to));
}

} // namespace Vantor
