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

// Whether a packet without a position opens the next chapter: it comes behind the last one of this chapter.
bool VobTrack::opensNext(const AVPacket& packet) const
{
    return mCurrent + 1 < mChapters.size() && mLastDts == mChapters.at(mCurrent)->lastDts &&
           packet.dts == mChapters.at(mCurrent + 1)->firstDts;
}

const VobChapter* VobTrack::follow(const AVPacket& packet)
{
    if (packet.pos >= 0) {
        const qsizetype found = find(packet.pos);
        if (found == mChapters.size())
            return nullptr;
        mCurrent = found;
    } else if (opensNext(packet)) {
        ++mCurrent;
    }
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
