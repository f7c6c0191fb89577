#include <QElapsedTimer>
#include <QLoggingCategory>

#include "hostlibs/AvBridge.h"
#include "hostlibs/VxMediaInfo.h"
#include "tests/demux/DemuxSupport.h"
#include "tests/support/MessageCapture.h"
#include "video/InfoEstimate.h"

using namespace Vantor;
using namespace Qt::StringLiterals;

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

    std::unique_ptr<RecordCapture> mCapture;

private slots:
    void initTestCase() { mCapture = std::make_unique<RecordCapture>(); }
    void mediaInfo();
    void ffmpegLog();
    void consoleStaysClean();
    void estimates();
    void estimateOfOddStreams();
    void estimateRunsOutOfTime();
};

void DemuxHostlibsTest::mediaInfo()
{
    // Duration, size, the bitrate of each sound.
    const auto facts = [](const QString& path) {
        const auto info = getMediaInfo(path, -1, true);
        QList<qint64> all{info->duration, info->size};
        for (const auto& audio : std::as_const(info->audioStreams))
            all.append(audio->bitrate);
        return all;
    };
    const auto sizeOf = [](const char* name) { return QFileInfo(mediaPath(name)).size(); };
    using Facts = QList<qint64>;
    QCOMPARE(facts(mediaPath("vob.vob")), Facts({6016, sizeOf("vob.vob"), 224000, 224000}));
    // From the statistics of Matroska, and nobody says.
    QCOMPARE(facts(mediaPath("two-audio.mkv")), Facts({4021, sizeOf("two-audio.mkv"), 96123, 0}));
    QCOMPARE(facts(mediaPath("live.mkv")), Facts({0, sizeOf("live.mkv"), 0}));
    QCOMPARE(facts(mediaPath("video-only.mp4")), Facts({4000, sizeOf("video-only.mp4")}));
    for (const QString& unreadable :
         {mediaPath("garbage.mp4"), QDir::tempPath(), u"/no/such/file"_s, QString()})
        QCOMPARE(facts(unreadable), Facts({0, 0}));
}

void DemuxHostlibsTest::ffmpegLog()
{
    mCapture->takeFFmpegLines();
    ffmpegLogToPLog();
    ffmpegLogToPLog();
    av_log(nullptr, AV_LOG_ERROR, "in pieces: ");
    av_log(nullptr, AV_LOG_ERROR | AV_LOG_C(128), "%d\n", 42);
    av_log(nullptr, AV_LOG_INFO, "chatter\n");
    av_log_set_level(AV_LOG_QUIET);
    av_log(nullptr, AV_LOG_ERROR, "nothing\n");
    av_log_set_level(AV_LOG_INFO);
    QCOMPARE(mCapture->takeFFmpegLines(), QStringList{u"in pieces: 42"_s});
}

void DemuxHostlibsTest::consoleStaysClean()
{
    mCapture.reset(); // which would take what the console gets
    static QStringList messages;
    const auto collect = [](QtMsgType, const QMessageLogContext& context, const QString& text) {
        messages.append(QLatin1StringView(context.category) + u' ' + text);
    };
    const auto previous = qInstallMessageHandler(collect);
    FFDemuxer().open(mediaPath("garbage.mp4"));
    const QStringList byDefault = std::exchange(messages, {});
    QLoggingCategory::setFilterRules(u"vantor.info=true"_s);
    FFDemuxer().open(mediaPath("garbage.mp4"));
    QLoggingCategory::setFilterRules(QString());
    qInstallMessageHandler(previous);
    initTestCase();
    QCOMPARE(byDefault, QStringList());
    QVERIFY(messages.contains(u"vantor maybe specific format, ret = %1"_s.arg(AVERROR_INVALIDDATA)));
}

void DemuxHostlibsTest::estimates()
{
    struct Case
    {
        const char* name;
        qint64 expected, tolerance;
    };
    // Not from 0, decoding times for missing ones, no times at all, ends early.
    for (const Case& scan : {Case{"vob.vob", 6000, 30},
                             {"avi.avi", 4000, 30},
                             {"raw.h264", kWithoutEstimate, 0},
                             {"truncated-moov-first.mp4", 2000, 500}}) {
        FFDemuxer demuxer;
        QCOMPARE(estimate(demuxer), kWithoutEstimate);
        QVERIFY(demuxer.open(mediaPath(scan.name)));
        QVERIFY2(estimate(demuxer, 1) == 1, "a known duration is left alone, without reading");
        const qint64 found = estimate(demuxer);
        QVERIFY2(std::abs(found - scan.expected) <= scan.tolerance, qPrintable(QString::number(found)));
        QCOMPARE(estimate(demuxer), kWithoutEstimate); // at the end there is nothing to read
    }
}

void DemuxHostlibsTest::estimateOfOddStreams()
{
    FFDemuxer demuxer;
    const auto estimateWith = [&demuxer](AVRational filmTimeBase) {
        demuxer.open(mediaPath("mp4-moov-last.mp4"));
        demuxer.formatContext()->streams[0]->time_base = filmTimeBase;
        return estimate(demuxer);
    };
    // The film has nothing to say: the sound does, of 4 s.
    const qint64 sound = estimateWith({1, 0});
    QVERIFY2(std::abs(sound - 4000) <= 80, qPrintable(QString::number(sound)));
    QCOMPARE(estimateWith({0, 1}), sound);
    // A clock that counts in ages: the longest time there is.
    QVERIFY(estimateWith({std::numeric_limits<int>::max(), 1}) > qint64(1) << 50);
}

void DemuxHostlibsTest::estimateRunsOutOfTime()
{
    const MessageCapture messages;
    FFDemuxer demuxer;
    QVERIFY(demuxer.open(mediaPath("hd-1080.mp4")));
    AVIOContext* io = demuxer.formatContext()->pb;
    readFast = std::exchange(io->read_packet, readSlowly);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(estimate(demuxer), 0);
    io->read_packet = readFast;
    QVERIFY2(timer.elapsed() >= 3000, "given up too early");
    QCOMPARE(messages.debugLines(), QStringList{u"InfoEstimate timeOut"_s});
    QVERIFY2(demuxer.readPacket(), "the rest stays readable");
}

QTEST_GUILESS_MAIN(DemuxHostlibsTest)
#include "demux_hostlibs_test.moc"
