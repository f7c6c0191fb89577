#include "tests/demux/DemuxSupport.h"
#include "tests/support/TestFolder.h"

using namespace Vantor;
using namespace Qt::StringLiterals;

class DemuxPacketsTest : public QObject
{
    Q_OBJECT

    RecordCapture mCapture;

private slots:
    void sameFromFileAndResource();
    void contextOutlivesItsDemuxer();
    void seeksByTime();
    void seeksByByte();
    void failedSeeksAreLogged();
};

void DemuxPacketsTest::sameFromFileAndResource()
{
    const QStringList names =
        u"mp4-fragmented.mp4 cover-before.mp4 subs-mixed.mkv live.mkv avi.avi wmv-3.wmv vob-chain.vob "
        "truncated-moov-first.mp4 ts.ts flv.flv raw.h264"_s.split(u' ');
    const MediaResources resources(names);
    for (const QString& name : names) {
        FFDemuxer file;
        FFDemuxer resource;
        QVERIFY2(file.open(mediaPath(name)) && resource.open(u":/"_s + name), qPrintable(name));
        const QList<Packet> packets = readAll(file);
        QVERIFY2(packets.size() > 1 && readAll(resource) == packets, qPrintable(name));
        QVERIFY2(!file.readPacket() && !resource.readPacket(), "the end stays the end");
        file.seek(0, 0);
        resource.seek(0, 0);
        QVERIFY2(readAll(resource) == readAll(file), qPrintable(name));
    }
}

void DemuxPacketsTest::contextOutlivesItsDemuxer()
{
    const MediaResources resources({u"ts.ts"_s});
    auto demuxer = std::make_unique<FFDemuxer>();
    QVERIFY(demuxer->open(u":/ts.ts"_s));
    const auto context = demuxer->formatContext();
    demuxer.reset();
    AVPacket packet{};
    int count = 0;
    for (; av_read_frame(context.data(), &packet) >= 0; av_packet_unref(&packet))
        ++count;
    QVERIFY(count > 200);
}

void DemuxPacketsTest::seeksByTime()
{
    struct Case
    {
        const char* name;
        qint64 ms, earliestMs, latestMs; // of the first packet afterwards
    };
    // The film can only be entered at its start; each packet of the sound is an entry.
    for (const Case& seek : {Case{"mp4-moov-last.mp4", -5, 0, 0},
                             {"mp4-moov-last.mp4", 1500, 0, 0},
                             {"sound-only.m4a", 1500, 1470, 1500}}) {
        FFDemuxer demuxer;
        QVERIFY(demuxer.open(mediaPath(seek.name)));
        readAll(demuxer);
        mCapture.take();
        demuxer.seek(seek.ms, 0);
        QCOMPARE(mCapture.take(), QStringList());
        auto packet = demuxer.readPacket();
        while (packet && packet->stream_index != 0)
            packet = demuxer.readPacket();
        QVERIFY(packet);
        const AVRational base = demuxer.formatContext()->streams[0]->time_base;
        const qint64 at = av_rescale_q(packet->pts, base, kMilliseconds);
        QVERIFY2(seek.earliestMs <= at && at <= seek.latestMs, qPrintable(QString::number(at)));
    }
}

void DemuxPacketsTest::seeksByByte()
{
    FFDemuxer demuxer;
    QVERIFY(demuxer.open(mediaPath("ts.ts")));
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
    FFDemuxer demuxer;
    mCapture.take();
    demuxer.seek(0, 0);
    demuxer.seekByFilePos(0);
    QVERIFY2(!demuxer.readPacket() && mCapture.take().isEmpty(), "a closed one does nothing");
    QVERIFY(demuxer.open(mediaPath("mp4-moov-first.mp4")));
    mCapture.take();
    for (const int stream : {-1, 2, std::numeric_limits<int>::max()})
        demuxer.seek(1500, stream);
    QCOMPARE(mCapture.take(), QStringList());

    // MP4 has no seeking by bytes.
    demuxer.seekByFilePos(1000);
    QString record = mCapture.take().join(u'\n');
    QVERIFY2(record.startsWith("---player--- seekByFilePos av_seek_frame: -"_L1), qPrintable(record));
    QVERIFY2(demuxer.readPacket(), "a failed seek leaves the input readable");

    // Streams, but not a single packet to go to.
    const QByteArray fragmented = TestFolder::read(mediaPath("mp4-fragmented.mp4"));
    const TestFolder folder;
    QVERIFY(demuxer.open(folder.write(u"index.mp4"_s, fragmented.left(fragmented.indexOf("moof") - 4))));
    mCapture.take();
    demuxer.seek(1500, 0);
    record = mCapture.take().join(u'\n');
    QVERIFY2(record.startsWith("---player--- seekByStream streamIndex: 0,res : -"_L1), qPrintable(record));
    QVERIFY(!record.contains(u'\n'));
}

QTEST_GUILESS_MAIN(DemuxPacketsTest)
#include "demux_packets_test.moc"
