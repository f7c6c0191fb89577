#include "demux/FFVobDemuxer.h"

#include <algorithm>

#include "demux/MediaDescription.h"
#include "demux/Saturate.h"
#include "demux/VobChapterScanner.h"
#include "log/DebugLine.h"

namespace Vantor {

namespace {

constexpr qint64 kSeekLeadMs = 500;

qint64 moved(qint64 timestamp, qint64 from, qint64 to)
{
    return timestamp == AV_NOPTS_VALUE ? timestamp : shifted(timestamp, from, to);
}

// The sums of lengths have 32 bits.
qint32 plus(qint32 sum, qint64 length)
{
    return static_cast<qint32>(static_cast<quint32>(sum) + static_cast<quint32>(length));
}

// Beyond 2^53, where a double is no longer exact, there is no place in a file.
qint64 saturatedProduct(qint64 a, qint64 b)
{
    return saturate<qint64>(static_cast<double>(a) * static_cast<double>(b));
}

} // namespace

FFVobDemuxer::FFVobDemuxer() : FFDemuxer(TimestampFall::Joint) {}

bool FFVobDemuxer::open(const QString& path)
{
    const bool opened = FFDemuxer::open(path);
    mChapters = VobChapterScanner::instance().chapters(path);
    mCachedChapterValid = false;
    indexChapters();
    return opened;
}

void FFVobDemuxer::close()
{
    FFDemuxer::close();
    mTracks.clear();
    mChapters.clear();
}

void FFVobDemuxer::indexChapters()
{
    mTracks.clear();
    mTimeBases.clear();
    if (!mChapters)
        return;
    for (const VobChapter& chapter : mChapters->chapters)
        mTracks[chapter.streamIndex].add(chapter);
    if (const auto media = describeMedia(*this)) {
        for (const auto& stream : media->streams)
            mTimeBases.insert(stream->index, stream->timeBase);
    }
}

AVRational FFVobDemuxer::timeBaseOf(const VobChapter& chapter) const
{
    return mTimeBases.value(chapter.streamIndex, kMicroseconds);
}

qint64 FFVobDemuxer::chapterLengthMs(const VobChapter& chapter) const
{
    const qint64 span = shifted(chapter.lastPts, chapter.firstPts, 0);
    const qint64 length = std::max<qint64>(av_rescale_q(span, timeBaseOf(chapter), kMilliseconds), 1);
    debugLine() << "chapter len: " << length << "ms";
    return length;
}

void FFVobDemuxer::seek(qint64 ms, int /*streamIndex*/)
{
    if (!mChapters)
        return;
    qint32 start = 0;
    for (const VobChapter& chapter : mChapters->chapters) {
        const qint64 length = chapterLengthMs(chapter);
        if (start > ms || av_sat_add64(start, length) < ms) {
            start = plus(start, length);
            continue;
        }
        const qint64 chapterStart = av_rescale_q(chapter.outPtsBase, timeBaseOf(chapter), kMilliseconds);
        const qint64 offset = av_sat_sub64(ms, chapterStart);
        const qint64 bytesPerMs = (chapter.tailPosInFile - chapter.headPosInFile) / length;
        debugLine() << "tailPosInFile : " << chapter.tailPosInFile
                    << "headPosInFile : " << chapter.headPosInFile
                    << "sz / durationMs(timeBase) : " << bytesPerMs;
        const qint64 target =
            av_sat_add64(chapter.headPosInFile,
                         saturatedProduct(bytesPerMs, offset <= kSeekLeadMs ? offset : offset - kSeekLeadMs));
        seekByFilePos(target);
        mCachedChapterValid = false;
        for (VobTrack& track : mTracks)
            track.moveTo(target);
        return;
    }
}

// Null when the packet is in no chapter.
const VobChapter* FFVobDemuxer::chapterOf(const AVPacket& packet)
{
    const auto track = mTracks.find(packet.stream_index);
    if (mCachedChapterValid && mCachedChapter.streamIndex == packet.stream_index &&
        mCachedChapter.holds(packet.pos)) {
        track->stay(packet);
        return &mCachedChapter;
    }
    const VobChapter* chapter = track == mTracks.end() ? nullptr : track->follow(packet);
    mCachedChapterValid = chapter != nullptr;
    if (chapter)
        mCachedChapter = *chapter;
    return chapter;
}

QSharedPointer<AVPacket> FFVobDemuxer::readPacket()
{
    auto packet = FFDemuxer::readPacket();
    if (!packet || !mChapters)
        return packet;
    const VobChapter* chapter = chapterOf(*packet);
    if (!chapter)
        return packet;
    packet->pts = moved(packet->pts, chapter->firstPts, chapter->outPtsBase);
    packet->dts = moved(packet->dts, chapter->firstDts, chapter->outDtsBase);
    if (chapter->mediaType == AVMEDIA_TYPE_AUDIO && mChapters->audioPtsFromDts)
        packet->pts = packet->dts;
    return packet;
}

qint64 FFVobDemuxer::durationMs()
{
    if (!mChapters)
        return FFDemuxer::durationMs();
    qint32 video = 0;
    QMap<int, qint32> audio; // by stream index
    for (const VobChapter& chapter : mChapters->chapters) {
        const qint64 length = chapterLengthMs(chapter);
        if (chapter.mediaType == AVMEDIA_TYPE_VIDEO)
            video = plus(video, length);
        else if (chapter.mediaType == AVMEDIA_TYPE_AUDIO)
            audio[chapter.streamIndex] = plus(audio.value(chapter.streamIndex), length);
    }
    const qint32 longest =
        std::max(video, audio.isEmpty() ? 0 : *std::max_element(audio.cbegin(), audio.cend()));
    debugLine() << "audio duration (ms) : " << longest;
    return std::max(longest, 0);
}

} // namespace Vantor
