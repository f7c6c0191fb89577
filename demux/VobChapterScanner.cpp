#include "demux/VobChapterScanner.h"

#include <QMutexLocker>

#include "demux/FFDemuxer.h"
#include "demux/MediaDescription.h"
#include "log/DebugLine.h"

namespace Vantor {

namespace {

// Cuts the packets of a file, in the file's order, into the chapters of its streams.
class ChapterCutter
{
public:
    explicit ChapterCutter(const MediaDescription& media)
    {
        for (const auto& stream : media.streams)
            mMediaTypes.insert(stream->index, stream->mediaType);
    }

    void add(const AVPacket& packet);
    QSharedPointer<VobChapterList> finish();

private:
    static VobChapter begin(const AVPacket& packet, qint32 mediaType, qint64 pts);

    QMap<int, qint32> mMediaTypes; // by stream index
    QMap<int, VobChapter> mOpen;   // by stream index
    QList<VobChapter> mClosed;
};

VobChapter ChapterCutter::begin(const AVPacket& packet, qint32 mediaType, qint64 pts)
{
    VobChapter chapter;
    chapter.streamIndex = packet.stream_index;
    chapter.mediaType = mediaType;
    chapter.outPtsBase = chapter.firstPts = pts;
    chapter.outDtsBase = chapter.firstDts = packet.dts;
    chapter.startedWithoutPts = packet.pts == AV_NOPTS_VALUE;
    return chapter;
}

void ChapterCutter::add(const AVPacket& packet)
{
    const auto mediaType = mMediaTypes.constFind(packet.stream_index);
    // A packet without a decoding timestamp says nothing about a jump.
    if (mediaType == mMediaTypes.cend() || packet.dts == AV_NOPTS_VALUE)
        return;
    const qint64 pts = packet.pts == AV_NOPTS_VALUE ? packet.dts : packet.pts;
    auto open = mOpen.find(packet.stream_index);
    if (open == mOpen.end()) {
        open = mOpen.insert(packet.stream_index, begin(packet, *mediaType, pts));
    } else if (packet.dts < open->lastDts) {
        VobChapter next = begin(packet, *mediaType, pts);
        next.outPtsBase = shifted(open->lastPts, open->firstPts, open->outPtsBase);
        next.outDtsBase = shifted(shifted(open->lastDts, open->firstDts, open->outDtsBase), 0, 1);
        mClosed.append(*open);
        *open = next;
    }
    open->lastPts = pts;
    open->lastDts = packet.dts;
    // FFmpeg gives a frame that starts inside a packet of the program stream no position.
    if (open->headPosInFile < 0)
        open->headPosInFile = open->tailPosInFile = packet.pos;
    if (packet.pos > 0)
        open->tailPosInFile = packet.pos;
}

QSharedPointer<VobChapterList> ChapterCutter::finish()
{
    auto list = QSharedPointer<VobChapterList>::create();
    list->chapters = mClosed;
    for (const VobChapter& chapter : std::as_const(mOpen)) {
        list->chapters.append(chapter);
        if (chapter.mediaType == AVMEDIA_TYPE_AUDIO && chapter.startedWithoutPts)
            list->audioPtsFromDts = true;
    }
    return list;
}

} // namespace

VobChapterScanner& VobChapterScanner::instance()
{
    static VobChapterScanner scanner;
    return scanner;
}

QSharedPointer<const VobChapterList> VobChapterScanner::chapters(const QString& path)
{
    {
        const QMutexLocker lock(&mMutex);
        if (auto known = mKnown.value(path))
            return known;
    }
    // Without the lock: files are scanned side by side, and rather one of them twice than all in a row.
    FFDemuxer demuxer(FFDemuxer::TimestampFall::Joint);
    if (!demuxer.open(path))
        return {};
    ChapterCutter cutter(*describeMedia(demuxer));
    while (const auto packet = demuxer.readPacket())
        cutter.add(*packet);
    QSharedPointer<const VobChapterList> list = cutter.finish();
    if (list->chapters.isEmpty())
        return {};
    debugLine() << "chapter count: " << list->chapters.size();
    const QMutexLocker lock(&mMutex);
    auto& known = mKnown[path];
    if (!known)
        known = list;
    return known;
}

} // namespace Vantor
