#include <QMap>

#include <algorithm>

#include "demux/FFVobDemuxer.h"
#include "demux/MediaDescription.h"
#include "demux/VobChapterScanner.h"
#include "demux/VobTrack.h"
#include "tests/demux/DemuxSupport.h"
#include "tests/support/MessageCapture.h"
#include "tests/support/TestFolder.h"

using namespace Vantor;

namespace {

constexpr AVRational kTicks{1, 90000}; // of a program stream
constexpr qint64 kFrameMs = 40;
const QString kChain = QStringLiteral("vob-chain.vob");
const QString kFirst = QStringLiteral("vob.vob");
const QString kSecond = QStringLiteral("vob-second.vob");

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

private slots:
    void init() { mMessages = std::make_unique<MessageCapture>(); }
    void cleanup() { mMessages.reset(); }
    void unbrokenFileIsUnchanged_data();
    void unbrokenFileIsUnchanged();
    void chainIsOneTimeline();
    void chapters();
    void manyChapters();
    void duration();
    void seek_data();
    void seek();
    void scansOnce();
    void withoutChapters_data();
    void withoutChapters();
    void packetsWithoutPosition();

private: // NOLINT(readability-redundant-access-specifiers): what follows are no slots
    std::unique_ptr<MessageCapture> mMessages;
    RecordCapture mRecords;
};

void DemuxVobTest::unbrokenFileIsUnchanged_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<qsizetype>("chapters");
    QTest::newRow("program stream") << kFirst << qsizetype(3);
    QTest::newRow("timestamps missing") << "avi.avi" << qsizetype(2);
    QTest::newRow("transport stream") << "ts.ts" << qsizetype(2);
    QTest::newRow("no timestamps at all") << "raw.h264" << qsizetype(0);
    QTest::newRow("ends early") << "truncated-moov-first.mp4" << qsizetype(2);
}

void DemuxVobTest::unbrokenFileIsUnchanged()
{
    QFETCH(const QString, name);
    QFETCH(const qsizetype, chapters);
    FFDemuxer plain;
    FFVobDemuxer vob;
    QVERIFY(plain.open(mediaPath(name)));
    QVERIFY(vob.open(mediaPath(name)));
    QCOMPARE(chaptersOf(mediaPath(name)).size(), chapters);
    QVERIFY(readAll(vob) == readAll(plain));
}

void DemuxVobTest::chainIsOneTimeline()
{
    FFVobDemuxer chain;
    QVERIFY(chain.open(mediaPath(kChain)));
    const QList<Packet> packets = readAll(chain);

    // Nothing is lost: the chain has the packets of its halves.
    FFDemuxer half;
    QVERIFY(half.open(mediaPath(kFirst)));
    QList<Packet> halves = readAll(half);
    QVERIFY(half.open(mediaPath(kSecond)));
    halves += readAll(half);
    QVERIFY(std::abs(packets.size() - halves.size()) <= 3);

    QMap<int, qint64> previous;
    qsizetype withoutPosition = 0;
    for (const Packet& packet : packets) {
        withoutPosition += packet.pos < 0 ? 1 : 0;
        const auto before = previous.constFind(packet.stream);
        if (before != previous.cend()) {
            QVERIFY2(packet.dts > *before, qPrintable(QStringLiteral("stream %1, position %2: %3 after %4")
                                                          .arg(packet.stream)
                                                          .arg(packet.pos)
                                                          .arg(packet.dts)
                                                          .arg(*before)));
            QVERIFY2(msOf(packet.dts - *before) <= kFrameMs, "a gap at the joint");
        }
        previous[packet.stream] = packet.dts;
    }
    QCOMPARE(previous.size(), 3);
    QVERIFY2(withoutPosition > packets.size() / 4, "the source has lost its packets without a position");
}

void DemuxVobTest::chapters()
{
    const QList<VobChapter> list = chaptersOf(mediaPath(kChain));
    QCOMPARE(list.size(), 6);
    const qint64 joint = QFileInfo(mediaPath(kFirst)).size();
    const qint64 end = QFileInfo(mediaPath(kChain)).size();
    for (int i = 0; i < 3; ++i) {
        // First the chapters that a jump back ended, then each stream's last one.
        const VobChapter& last = list.at(3 + i);
        QCOMPARE(last.streamIndex, i);
        QCOMPARE(last.mediaType, i == 0 ? AVMEDIA_TYPE_VIDEO : AVMEDIA_TYPE_AUDIO);
        const auto closed = std::find_if(list.begin(), list.begin() + 3,
                                         [i](const VobChapter& chapter) { return chapter.streamIndex == i; });
        QVERIFY(closed != list.begin() + 3);
        QCOMPARE(closed->outDtsBase, closed->firstDts);
        QCOMPARE(closed->outPtsBase, closed->firstPts);
        QVERIFY(0 <= closed->headPosInFile && closed->headPosInFile < closed->tailPosInFile);
        QVERIFY(closed->tailPosInFile < joint && joint <= last.headPosInFile);
        QVERIFY(last.headPosInFile < last.tailPosInFile && last.tailPosInFile < end);
        QCOMPARE(last.outDtsBase, closed->lastDts + 1);
        QCOMPARE(last.outPtsBase, closed->lastPts);
        QVERIFY(last.firstDts < closed->lastDts);
    }
}

// Twenty parts, each with an end of its own: cut in the middle of a packet.
void DemuxVobTest::manyChapters()
{
    const QByteArray part = TestFolder::read(mediaPath(kFirst));
    QByteArray chain;
    for (qsizetype i = 0; i < 20; ++i)
        chain += part.left(part.size() / 2 + 1009 * i);
    const TestFolder folder;
    const QString path = folder.write(QStringLiteral("many.vob"), chain);
    FFVobDemuxer demuxer;
    QVERIFY(demuxer.open(path));
    QCOMPARE(chaptersOf(path).size(), 60);
    QMap<int, qint64> previous;
    for (const Packet& packet : readAll(demuxer)) {
        QVERIFY(!previous.contains(packet.stream) || packet.dts > previous.value(packet.stream));
        previous[packet.stream] = packet.dts;
    }
    QCOMPARE(previous.size(), 3);
}

void DemuxVobTest::duration()
{
    // The parts' own sounds are longer than their pictures.
    FFVobDemuxer chain;
    QVERIFY(chain.open(mediaPath(kChain)));
    qint64 sum = 0;
    for (const QString& name : {kFirst, kSecond}) {
        FFDemuxer half;
        QVERIFY(half.open(mediaPath(name)));
        sum += half.durationMs();
    }
    const qint64 duration = chain.durationMs();
    QVERIFY2(duration <= sum && sum - duration <= 2 * kFrameMs, qPrintable(QString::number(duration)));
    QCOMPARE(mMessages->debugLines(QStringLiteral("chapter len: ")).size(), 6);
    QCOMPARE(mMessages->debugLines(QStringLiteral("audio duration (ms) : ")).size(), 1);
}

void DemuxVobTest::seek_data()
{
    QTest::addColumn<qint64>("ms");
    for (const int ms :
         {0, 200, 700, 1033, 1034, 1035, 1500, 3000, 5000, 6100, 6500, 8000, 10000, 13000, 13900})
        QTest::addRow("%d ms", ms) << qint64(ms);
}

// The place by the stated arithmetic, and the time that is there.
void DemuxVobTest::seek()
{
    QFETCH(const qint64, ms);
    FFVobDemuxer demuxer;
    QVERIFY(demuxer.open(mediaPath(kChain)));
    qint64 expected = -1;
    qint64 start = 0;
    for (const VobChapter& chapter : chaptersOf(mediaPath(kChain))) {
        const qint64 length = msOf(chapter.lastPts - chapter.firstPts);
        if (ms <= start + length) {
            const qint64 offset = ms - msOf(chapter.outPtsBase);
            expected = chapter.headPosInFile + (chapter.tailPosInFile - chapter.headPosInFile) / length *
                                                   (offset > 500 ? offset - 500 : offset);
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
        QVERIFY2(std::abs(at - ms) <= 1000, qPrintable(QString::number(at)));
}

void DemuxVobTest::scansOnce()
{
    const TestFolder folder;
    const QString path = folder.path(QStringLiteral("once.vob"));
    QVERIFY(QFile::copy(mediaPath(kChain), path));
    const auto scans = [this] { return mMessages->debugLines(QStringLiteral("chapter count: ")).size(); };
    FFVobDemuxer first;
    QVERIFY(first.open(path));
    QCOMPARE(scans(), 1);
    FFVobDemuxer second;
    QVERIFY(second.open(path));
    QVERIFY(second.open(path));
    QCOMPARE(scans(), 1);
    const qint64 duration = first.durationMs();
    QCOMPARE(second.durationMs(), duration);

    second.close();
    QVERIFY(!second.readPacket());
    QCOMPARE(second.durationMs(), 0);
    // The chapters of a file that is no longer there are still known.
    QVERIFY(QFile::remove(path));
    QVERIFY(!second.open(path));
    QVERIFY(!second.readPacket());
    second.seek(1000, 0);
    QVERIFY(second.durationMs() > 0);
}

void DemuxVobTest::withoutChapters_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("garbage") << "garbage.mp4";
    QTest::newRow("empty") << "empty.mp4";
    QTest::newRow("truncated") << "truncated.mp4";
}

void DemuxVobTest::withoutChapters()
{
    QFETCH(const QString, name);
    FFVobDemuxer demuxer;
    QVERIFY(!demuxer.open(mediaPath(name)));
    QVERIFY(chaptersOf(mediaPath(name)).isEmpty());
    demuxer.seek(0, 0);
    QVERIFY(!demuxer.readPacket());
    QCOMPARE(demuxer.durationMs(), 0);
    QVERIFY2(!demuxer.open(QString()), "no path");
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
    for (const VobChapter& chapter : std::as_const(list))
        track.add(chapter);
    const auto follow = [&](qint64 pos, qint64 dts) {
        AVPacket packet{};
        packet.pos = pos;
        packet.dts = dts;
        const VobChapter* chapter = track.follow(packet);
        return chapter ? chapter - list.constData() : -1;
    };
    QCOMPARE(follow(-1, 10), 0); // before any position
    QCOMPARE(follow(150, 20), 0);
    QCOMPARE(follow(-1, 5), 0); // a cut frame's time may be any
    QCOMPARE(follow(-1, 30), 0);
    QCOMPARE(follow(-1, 5), 1); // over the joint
    QCOMPARE(follow(-1, 8), 1);
    QCOMPARE(follow(300, 6), 1);
    QCOMPARE(follow(250, 7), -1); // between them
    QCOMPARE(follow(-1, 8), 1);
    track.moveTo(120);
    QCOMPARE(follow(-1, 9), 0);
    track.moveTo(250);
    QCOMPARE(follow(-1, 9), 1);
    track.moveTo(1000);
    QCOMPARE(follow(-1, 9), 1);
    QCOMPARE(follow(100, 1), 0);

    // Positions that run into each other: the first stretch around one counts.
    list[1].headPosInFile = 50;
    list[1].tailPosInFile = 150;
    VobTrack mixed;
    for (const VobChapter& chapter : std::as_const(list))
        mixed.add(chapter);
    track = mixed;
    QCOMPARE(follow(120, 1), 0);
    QCOMPARE(follow(60, 1), 1);
}

QTEST_GUILESS_MAIN(DemuxVobTest)
#include "demux_vob_test.moc"
