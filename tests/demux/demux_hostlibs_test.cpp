#include <QElapsedTimer>
#include <QLoggingCategory>

#include "hostlibs/AvBridge.h"
#include "hostlibs/VxMediaInfo.h"
#include "tests/demux/DemuxSupport.h"
#include "tests/support/MessageCapture.h"
#include "video/InfoEstimate.h"

using namespace Vantor;

namespace {

constexpr auto kWithoutEstimate = qint64(-7);

qint64 estimate(FFDemuxer& demuxer, qint64 before = kWithoutEstimate)
{
    qint64 durationMs = before;
    infoEstimate(demuxer.formatContext(), durationMs);
    return durationMs;
}

int (*readFast)(void*, uint8_t*, int) = nullptr;

int readSlowly(void* opaque, uint8_t* buffer, int size)
{
    QTest::qSleep(600);
    return readFast(opaque, buffer, size);
}

} // namespace

class DemuxHostlibsTest : public QObject
{
    Q_OBJECT

private slots:
    void mediaInfo_data();
    void mediaInfo();
    void ffmpegLog();
    void consoleStaysClean();
    void estimates_data();
    void estimates();
    void estimateOfOddStreams();
    void estimateLeavesKnownDurations();
    void estimateRunsOutOfTime();
};

void DemuxHostlibsTest::mediaInfo_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<qint64>("duration");
    QTest::addColumn<QList<qint32>>("bitrates"); // -1: any above 0
    QTest::newRow("from the codec") << "mp4-moov-last.mp4" << qint64(4000) << QList<qint32>{-1};
    QTest::newRow("from Matroska's statistics") << "two-audio.mkv" << qint64(4021) << QList<qint32>{96123, 0};
    QTest::newRow("nobody says") << "live.mkv" << qint64(0) << QList<qint32>{0};
    QTest::newRow("no sound") << "video-only.mp4" << qint64(4000) << QList<qint32>{};
    QTest::newRow("two sounds") << "vob.vob" << qint64(6016) << QList<qint32>{224000, 224000};
}

void DemuxHostlibsTest::mediaInfo()
{
    QFETCH(const QString, name);
    QFETCH(const qint64, duration);
    QFETCH(const QList<qint32>, bitrates);
    const RecordCapture capture;
    const auto info = getMediaInfo(mediaPath(name), -1, true);
    QCOMPARE(info->duration, duration);
    QCOMPARE(info->size, QFileInfo(mediaPath(name)).size());
    QCOMPARE(info->audioStreams.size(), bitrates.size());
    for (qsizetype i = 0; i < bitrates.size(); ++i) {
        const qint32 bitrate = info->audioStreams.at(i)->bitrate;
        QVERIFY2(bitrates.at(i) < 0 ? bitrate > 0 : bitrate == bitrates.at(i),
                 qPrintable(QString::number(bitrate)));
    }

    for (const QString& unreadable :
         {mediaPath(QStringLiteral("garbage.mp4")), mediaPath(QStringLiteral("empty.mp4")), QDir::tempPath(),
          QStringLiteral("/no/such/file"), QString()}) {
        const auto nothing = getMediaInfo(unreadable, -1, true);
        QVERIFY(nothing);
        QCOMPARE(nothing->duration, 0);
        QCOMPARE(nothing->size, 0);
        QVERIFY(nothing->audioStreams.isEmpty());
    }
}

void DemuxHostlibsTest::ffmpegLog()
{
    RecordCapture capture;
    ffmpegLogToPLog();
    ffmpegLogToPLog();
    av_log(nullptr, AV_LOG_ERROR, "in pieces: ");
    av_log(nullptr, AV_LOG_ERROR | AV_LOG_C(128), "%d\n", 42);
    av_log(nullptr, AV_LOG_INFO, "chatter\n");
    QCOMPARE(capture.takeFFmpegLines(), QStringList{QStringLiteral("in pieces: 42")});
    av_log_set_level(AV_LOG_QUIET);
    av_log(nullptr, AV_LOG_ERROR, "nothing\n");
    av_log_set_level(AV_LOG_INFO);
    QCOMPARE(capture.takeFFmpegLines(), QStringList());
}

void DemuxHostlibsTest::consoleStaysClean()
{
    static QStringList messages;
    const auto collect = [](QtMsgType, const QMessageLogContext& context, const QString& text) {
        messages.append(QLatin1String(context.category) + u' ' + text);
    };
    const auto open = [] {
        FFDemuxer demuxer;
        demuxer.open(mediaPath(QStringLiteral("garbage.mp4")));
    };
    const auto previous = qInstallMessageHandler(collect);
    open();
    const QStringList byDefault = std::exchange(messages, {});
    QLoggingCategory::setFilterRules(QStringLiteral("vantor.info=true"));
    open();
    QLoggingCategory::setFilterRules(QString());
    qInstallMessageHandler(previous);
    QCOMPARE(byDefault, QStringList());
    QVERIFY(
        messages.contains(QStringLiteral("vantor maybe specific format, ret = %1").arg(AVERROR_INVALIDDATA)));
}

void DemuxHostlibsTest::estimates_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<qint64>("expected");
    QTest::newRow("live") << "live.mkv" << qint64(4000);
    QTest::newRow("not from 0") << "vob.vob" << qint64(6000);
    QTest::newRow("decoding times for missing ones") << "avi.avi" << qint64(4000);
    QTest::newRow("sound alone") << "sound-only.m4a" << qint64(4000);
    QTest::newRow("no times at all") << "raw.h264" << kWithoutEstimate;
    QTest::newRow("ends early") << "truncated-moov-first.mp4" << qint64(2000);
}

void DemuxHostlibsTest::estimates()
{
    QFETCH(const QString, name);
    QFETCH(const qint64, expected);
    const RecordCapture capture;
    FFDemuxer demuxer;
    QVERIFY(demuxer.open(mediaPath(name)));
    const qint64 found = estimate(demuxer);
    const qint64 tolerance = expected == kWithoutEstimate ? 0 : name.startsWith(u't') ? 500 : 30;
    QVERIFY2(std::abs(found - expected) <= tolerance, qPrintable(QString::number(found)));
    QCOMPARE(estimate(demuxer), kWithoutEstimate); // at the end there is nothing to read
}

void DemuxHostlibsTest::estimateOfOddStreams()
{
    const RecordCapture capture;
    FFDemuxer demuxer;
    const auto open = [&demuxer] {
        demuxer.open(mediaPath(QStringLiteral("mp4-moov-last.mp4")));
        return demuxer.formatContext()->streams[0];
    };
    // The film has nothing to say: the sound does, of 4 s.
    open()->time_base = {1, 0};
    const qint64 sound = estimate(demuxer);
    QVERIFY2(std::abs(sound - 4000) <= 80, qPrintable(QString::number(sound)));
    open()->time_base = {0, 1};
    QCOMPARE(estimate(demuxer), sound);
    // A clock that counts in ages: the longest time there is.
    open()->time_base = {std::numeric_limits<int>::max(), 1};
    QVERIFY(estimate(demuxer) > qint64(1) << 50);
}

void DemuxHostlibsTest::estimateLeavesKnownDurations()
{
    const RecordCapture capture;
    FFDemuxer demuxer;
    QVERIFY(demuxer.open(mediaPath(QStringLiteral("live.mkv"))));
    QCOMPARE(estimate(demuxer, 1), 1);
    const auto packet = demuxer.readPacket();
    QVERIFY(packet);
    QCOMPARE(packet->pts, 0);
    demuxer.close();
    QCOMPARE(estimate(demuxer), kWithoutEstimate);
}

void DemuxHostlibsTest::estimateRunsOutOfTime()
{
    const RecordCapture capture;
    const MessageCapture messages;
    FFDemuxer demuxer;
    QVERIFY(demuxer.open(mediaPath(QStringLiteral("hd-1080.mp4"))));
    AVIOContext* io = demuxer.formatContext()->pb;
    readFast = std::exchange(io->read_packet, readSlowly);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(estimate(demuxer), 0);
    io->read_packet = readFast;
    QVERIFY2(timer.elapsed() >= 3000, "given up too early");
    QCOMPARE(messages.debugLines(), QStringList{QStringLiteral("InfoEstimate timeOut")});
    QVERIFY2(demuxer.readPacket(), "the rest stays readable");
}

QTEST_GUILESS_MAIN(DemuxHostlibsTest)
#include "demux_hostlibs_test.moc"
