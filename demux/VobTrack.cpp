#include "demux/VobTrack.h"

#include <algorithm>

namespace Vantor {

void VobTrack::add(const VobChapter& chapter)
{
    if (!mChapters.isEmpty()) {
        const VobChapter& previous = *mChapters.last();
        mOrdered = mOrdered && previous.headPosInFile <= chapter.headPosInFile &&
                   previous.tailPosInFile <= chapter.tailPosInFile;
    }
    mChapters.append(&chapter);
}

// The first chapter around the position, or the number of chapters.
qsizetype VobTrack::find(qint64 pos) const
{
    const auto begin = mChapters.cbegin();
    const auto end = mChapters.cend();
    if (!mOrdered)
        return std::find_if(begin, end, [pos](const VobChapter* chapter) { return chapter->holds(pos); }) -
               begin;
    // Only the first that doesn't end before the position can be around it.
    const auto at = std::partition_point(
        begin, end, [pos](const VobChapter* chapter) { return chapter->tailPosInFile < pos; });
    return (at != end && (*at)->holds(pos) ? at : end) - begin;
}

const VobChapter* VobTrack::follow(const AVPacket& packet)
{
    const qsizetype found = packet.pos < 0 ? mCurrent : find(packet.pos);
    if (found == mChapters.size())
        return nullptr;
    mCurrent = found;
    // A packet without a position follows its predecessor, also over the joint where the time falls back.
    if (packet.pos < 0 && packet.dts != AV_NOPTS_VALUE && packet.dts < mLastDts &&
        mCurrent + 1 < mChapters.size())
        ++mCurrent;
    mLastDts = packet.dts;
    return mChapters.at(mCurrent);
}

void VobTrack::moveTo(qint64 pos)
{
    const auto at = std::find_if(mChapters.cbegin(), mChapters.cend(),
                                 [pos](const VobChapter* chapter) { return pos <= chapter->tailPosInFile; });
    mCurrent = std::min(at - mChapters.cbegin(), mChapters.size() - 1);
    mLastDts = AV_NOPTS_VALUE;
}

} // namespace Vantor
