#include <QMap>

#include <algorithm>

#include "demux/FFVobDemuxer.h"
#include "demux/VobChapterScanner.h"
#include "demux/VobTrack.h"
#include "tests/demux/DemuxSupport.h"
#include "tests/support/MessageCapture.h"
#include "tests/support/TestFolder.h"

using namespace Vantor;
using namespace Qt::StringLiterals;

namespace {

constexpr AVRational kTicks{1, 90000}; // of a program stream
constexpr qint64 kFrameMs = 40;

qint64 msOf(qint64 ticks)
{
    return av_rescale_q(ticks, kTicks, kMilliseconds);
}

QList<VobChapter> chaptersOf(const QString& path)
{
    const auto list = VobChapterScanner::instance().chapters(path);
    return list ? list->chapters : QList<VobChapter>();
}

} // namespace

class DemuxVobTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<MessageCapture> mMessages;
    RecordCapture mRecords;
    const QString mChain = mediaPath("vob-chain.vob");

private slots:
    void init() { mMessages = std::make_unique<MessageCapture>(); }
    void cleanup() { mMessages.reset(); }
    void duration();
    void seek();
    void scansOnce();
    void withoutChapters();
    void packetsWithoutPosition();
};

void DemuxVobTest::duration()
{
    // The parts' own sounds are longer than their pictures.
    qint64 sum = 0;
    for (const QString& name : {mediaPath("vob.vob"), mediaPath("vob-second.vob")}) {
        FFDemuxer half;
        QVERIFY(half.open(name));
        sum += half.durationMs();
    }
    FFVobDemuxer chain;
    QVERIFY(chain.open(mChain));
    const qint64 duration = chain.durationMs();
    QVERIFY2(duration <= sum && sum - duration <= 2 * kFrameMs, qPrintable(QString::number(duration)));
    QCOMPARE(mMessages->debugLines(u"chapter len: "_s).size(), 6);
    QCOMPARE(mMessages->debugLines(u"audio duration (ms) : "_s).size(), 1);
}

// The place by the stated arithmetic, and the time that is there.
void DemuxVobTest::seek()
{
    FFVobDemuxer demuxer;
    QVERIFY(demuxer.open(mChain));
    for (const qint64 ms : {0, 200, 1033, 1034, 1035, 3000, 6100, 6500, 10000, 13900}) {
        qint64 expected = -1;
        qint64 start = 0;
        for (const VobChapter& chapter : chaptersOf(mChain)) {
            const qint64 length = msOf(chapter.lastPts - chapter.firstPts);
            if (ms <= start + length) {
                const qint64 offset = ms - msOf(chapter.outPtsBase);
                const qint64 bytesPerMs = (chapter.tailPosInFile - chapter.headPosInFile) / length;
                expected = chapter.headPosInFile + bytesPerMs * (offset > 500 ? offset - 500 : offset);
                break;
            }
            start += length;
        }
        demuxer.seek(ms, 7);
        QCOMPARE(avio_tell(demuxer.formatContext()->pb), std::max<qint64>(expected, 0));

        // What comes first in each stream; the picture that the place cuts has no time.
        QMap<int, qint64> found;
        for (const Packet& packet : readAll(demuxer)) {
            if (!found.contains(packet.stream) && packet.dts != AV_NOPTS_VALUE)
                found.insert(packet.stream, msOf(packet.dts));
        }
        QVERIFY(found.contains(0));
        for (const qint64 at : found)
            QVERIFY2(std::abs(at - ms) <= 1000, qPrintable(u"%1 for %2"_s.arg(at).arg(ms)));
    }
}

void DemuxVobTest::scansOnce()
{
    const TestFolder folder;
    const QString path = folder.path(u"once.vob"_s);
    QVERIFY(QFile::copy(mChain, path));
    FFVobDemuxer first;
    FFVobDemuxer second;
    QVERIFY(first.open(path) && second.open(path) && second.open(path));
    QCOMPARE(mMessages->debugLines(u"chapter count: "_s).size(), 1);
    QCOMPARE(second.durationMs(), first.durationMs());

    second.close();
    QVERIFY(!second.readPacket());
    QCOMPARE(second.durationMs(), 0);
    // The chapters of a file that is no longer there are still known.
    QVERIFY(QFile::remove(path));
    QVERIFY(!second.open(path) && !second.readPacket());
    second.seek(1000, 0);
    QVERIFY(second.durationMs() > 0);
}

void DemuxVobTest::withoutChapters()
{
    FFVobDemuxer demuxer;
    for (const QString& path : {mediaPath("garbage.mp4"), mediaPath("truncated.mp4"), QString()}) {
        QVERIFY(!demuxer.open(path));
        QVERIFY(chaptersOf(path).isEmpty());
        demuxer.seek(0, 0);
        QVERIFY(!demuxer.readPacket());
        QCOMPARE(demuxer.durationMs(), 0);
    }
}

void DemuxVobTest::packetsWithoutPosition()
{
    // Two stretches at 100 to 200 and at 300 to 400, the second one beginning with a packet without a
    // position.
    QList<VobChapter> list(2);
    list[0].headPosInFile = 100;
    list[0].tailPosInFile = 200;
    list[0].lastDts = 30;
    list[1].headPosInFile = 300;
    list[1].tailPosInFile = 400;
    list[1].firstDts = 5;
    VobTrack track;
    track.add(list.at(0));
    track.add(list.at(1));
    // In which chapters packets are: positions and decoding times.
    const auto follow = [&](const QList<std::pair<qint64, qint64>>& packets) {
        QList<qsizetype> found;
        for (const auto& [pos, dts] : packets) {
            AVPacket packet{};
            packet.pos = pos;
            packet.dts = dts;
            const VobChapter* chapter = track.follow(packet);
            found.append(chapter ? chapter - list.constData() : -1);
        }
        return found;
    };
    using Found = QList<qsizetype>;
    // Before any position; a cut frame's time may be any.
    QCOMPARE(follow({{-1, 10}, {150, 20}, {-1, 5}, {-1, 30}}), Found({0, 0, 0, 0}));
    // Over the joint; 250 is between the stretches.
    QCOMPARE(follow({{-1, 5}, {-1, 8}, {300, 6}, {250, 7}, {-1, 8}}), Found({1, 1, 1, -1, 1}));
    for (const auto& [place, expected] : {std::pair(120, 0), {250, 1}, {1000, 1}}) {
        track.moveTo(place);
        QCOMPARE(follow({{-1, 9}}), Found({expected}));
    }

    // Positions that run into each other: the first stretch around one counts.
    list[1].headPosInFile = 50;
    list[1].tailPosInFile = 150;
    track = {};
    track.add(list.at(0));
    track.add(list.at(1));
    QCOMPARE(follow({{120, 1}, {60, 1}}), Found({0, 1}));
}

QTEST_GUILESS_MAIN(DemuxVobTest)
#include "demux_vob_test.moc"
