#pragma once

#include <QList>

#include "demux/FFmpeg.h"
#include "demux/VobChapter.h"

namespace Vantor {

/// The chapters of one stream and where the reading is in them.
class VobTrack
{
public:
    /// Chapters come in the order of the list, which must outlive the track.
    void add(const VobChapter& chapter);

    /// The chapter of the stream's next packet (its timestamps as in the source); null when it is in none.
    /// One without a position is in the chapter of its predecessor.
    const VobChapter* follow(const AVPacket& packet);

    /// The stream's next packet is known to be in the same chapter as its previous one.
    void stay(const AVPacket& packet) { mLastDts = packet.dts; }

    /// The reading goes on at this byte position.
    void moveTo(qint64 pos);

private:
    qsizetype find(qint64 pos) const;
    bool opensNext(const AVPacket& packet) const;

    QList<const VobChapter*> mChapters; ///< never empty once in use
    bool mOrdered = true;               ///< no chapter begins or ends before its predecessor
    qsizetype mCurrent = 0;             ///< the chapter of the previous packet
    qint64 mLastDts = AV_NOPTS_VALUE;   ///< of the previous packet
};

} // namespace Vantor
