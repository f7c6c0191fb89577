#include <QJsonArray>

#include <limits>

#include "demux/FFDemuxer.h"
#include "hostlibs/AvBridge.h"
#include "tests/demux/DemuxSupport.h"
#include "tests/support/TestFolder.h"

using namespace Vantor;

class DemuxPacketsTest : public QObject
{
    Q_OBJECT

private slots:
    void readsAsFFmpegDoes_data();
    void readsAsFFmpegDoes();
    void seeksByTime_data();
    void seeksByTime();
    void seeksByByte();
    void failedSeeksAreLogged();
    void closedDemuxerDoesNothing();
};

void DemuxPacketsTest::readsAsFFmpegDoes_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name : {"mp4-fragmented.mp4", "subs-mixed.mkv", "avi.avi", "wmv-3.wmv", "vob-chain.vob"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

// Position by position what ffprobe reads from the file.
void DemuxPacketsTest::readsAsFFmpegDoes()
{
    QFETCH(const QString, name);
    const RecordCapture capture;
    FFDemuxer demuxer;
    QVERIFY(demuxer.open(mediaPath(name)));
    const QList<Packet> packets = readAll(demuxer);
    const QJsonArray probe =
        ffprobe(mediaPath(name), {QStringLiteral("-show_packets")}).value(QLatin1String("packets")).toArray();
    QCOMPARE(packets.size(), probe.size());
    const auto same = [](qint64 timestamp, const QJsonValue& value) {
        return value.isUndefined() ? timestamp == AV_NOPTS_VALUE : timestamp == value.toInteger();
    };
    for (qsizetype i = 0; i < packets.size(); ++i) {
        const Packet& packet = packets.at(i);
        const QJsonObject expected = probe.at(i).toObject();
        const bool equal =
            packet.stream == expected.value(QLatin1String("stream_index")).toInt() &&
            same(packet.pts, expected.value(QLatin1String("pts"))) &&
            same(packet.dts, expected.value(QLatin1String("dts"))) &&
            packet.data.size() == expected.value(QLatin1String("size")).toVariant().toLongLong();
        QVERIFY2(equal, qPrintable(QStringLiteral("packet %1").arg(i)));
    }
    QVERIFY2(!demuxer.readPacket(), "the end stays the end");
}

void DemuxPacketsTest::seeksByTime_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<qint64>("ms");
    QTest::addColumn<qint64>("earliestMs"); // of the first packet afterwards
    QTest::addColumn<qint64>("latestMs");
    // x264 makes every 250th picture a key picture, so that the film can only be entered at its start; each
    // packet of the sound is an entry.
    QTest::newRow("start") << "mp4-moov-last.mp4" << qint64(0) << qint64(0) << qint64(0);
    QTest::newRow("before the start") << "mp4-moov-last.mp4" << qint64(-5) << qint64(0) << qint64(0);
    QTest::newRow("back to a key picture") << "mp4-moov-last.mp4" << qint64(1500) << qint64(0) << qint64(0);
    QTest::newRow("sound") << "sound-only.m4a" << qint64(1500) << qint64(1470) << qint64(1500);
}

void DemuxPacketsTest::seeksByTime()
{
    QFETCH(const QString, name);
    QFETCH(const qint64, ms);
    QFETCH(const qint64, earliestMs);
    QFETCH(const qint64, latestMs);
    RecordCapture capture;
    FFDemuxer demuxer;
    QVERIFY(demuxer.open(mediaPath(name)));
    readAll(demuxer);
    capture.take();
    demuxer.seek(ms, 0);
    QCOMPARE(capture.take(), QStringList());
    auto packet = demuxer.readPacket();
    while (packet && packet->stream_index != 0)
        packet = demuxer.readPacket();
    QVERIFY(packet);
    const qint64 at =
        av_rescale_q(packet->pts, demuxer.formatContext()->streams[0]->time_base, kMilliseconds);
    QVERIFY2(earliestMs <= at && at <= latestMs, qPrintable(QString::number(at)));
}

void DemuxPacketsTest::seeksByByte()
{
    const RecordCapture capture;
    FFDemuxer demuxer;
    QVERIFY(demuxer.open(mediaPath(QStringLiteral("ts.ts"))));
    const QList<Packet> packets = readAll(demuxer);
    demuxer.seekByFilePos(200'000);
    const QList<Packet> rest = readAll(demuxer);
    QVERIFY(!rest.isEmpty() && rest.size() < packets.size());
    for (const Packet& packet : rest)
        QVERIFY(packet.pos < 0 || packet.pos >= 199'000);
    QCOMPARE(rest.last().data, packets.last().data);
}

void DemuxPacketsTest::failedSeeksAreLogged()
{
    RecordCapture capture;
    FFDemuxer demuxer;
    QVERIFY(demuxer.open(mediaPath(QStringLiteral("mp4-moov-first.mp4"))));
    const int streams = static_cast<int>(demuxer.formatContext()->nb_streams);
    capture.take();
    for (const int stream : {-1, streams, std::numeric_limits<int>::max()})
        demuxer.seek(1500, stream);
    QCOMPARE(capture.take(), QStringList());

    // MP4 has no seeking by bytes.
    demuxer.seekByFilePos(1000);
    QStringList records = capture.take();
    QCOMPARE(records.size(), 1);
    const QString begin = QStringLiteral("---player--- seekByFilePos av_seek_frame: %1: ");
    QVERIFY(records.first().startsWith(begin.arg(-1)) ||
            records.first().startsWith(begin.arg(AVERROR(EINVAL))));
    QVERIFY2(demuxer.readPacket(), "a failed seek leaves the input readable");

    // Streams, but not a single packet to go to.
    const QByteArray fragmented = TestFolder::read(mediaPath(QStringLiteral("mp4-fragmented.mp4")));
    const TestFolder folder;
    QVERIFY(demuxer.open(
        folder.write(QStringLiteral("index.mp4"), fragmented.left(fragmented.indexOf("moof") - 4))));
    capture.take();
    demuxer.seek(1500, 0);
    records = capture.take();
    QCOMPARE(records.size(), 1);
    QVERIFY2(records.first().startsWith(QLatin1String("---player--- seekByStream streamIndex: 0,res : -")),
             qPrintable(records.first()));
}

void DemuxPacketsTest::closedDemuxerDoesNothing()
{
    RecordCapture capture;
    FFDemuxer demuxer;
    QVERIFY(!demuxer.readPacket());
    demuxer.seek(0, 0);
    demuxer.seekByFilePos(0);
    demuxer.close();
    QCOMPARE(capture.take(), QStringList());
}

QTEST_GUILESS_MAIN(DemuxPacketsTest)
#include "demux_packets_test.moc"
