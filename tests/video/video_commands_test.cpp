// The three command builders on real sources. In the expected commands, IN, OUT, THREADS and PROGRESS stand
// for what differs from machine to machine.
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <cmath>
#include <thread>

#include "tests/support/MessageCapture.h"
#include "tests/support/TestFolder.h"
#include "video/VideoCompressor.h"

using namespace Qt::StringLiterals;

namespace {

enum Builder
{
    Quality,
    Size,
    Sample
};

QString media(const QString& name)
{
    return qEnvironmentVariable("VXC_TEST_MEDIA") + u'/' + name;
}

QVariantMap params(Builder builder, const QString& input, const QString& output, const QString& scale,
                   bool isPercentage)
{
    return {{u"inputPath"_qs, input},
            {u"outputPath"_qs, output},
            {u"scale"_qs, scale},
            {u"isPercentage"_qs, isPercentage || builder == Size},
            {u"quality"_qs, isPercentage || builder == Size ? 50 : 23},
            {u"preset"_qs, u"slow"_qs}};
}

QStringList build(VideoCompressor& task, Builder builder)
{
    switch (builder) {
    case Quality:
        return task.buildQualityCommand();
    case Size:
        return task.buildSizeCommand();
    case Sample:
        break;
    }
    return task.buildSampleCommand();
}

// The arguments as ffmpeg gets them, with the machine's own replaced.
QString normalised(const QStringList& fragments, const QString& input, const QString& output)
{
    QStringList arguments = QProcess::splitCommand(fragments.join(u' '));
    arguments.replaceInStrings(input, u"IN"_qs);
    arguments.replaceInStrings(output, u"OUT"_qs);
    const qsizetype threads = arguments.indexOf(u"-threads"_qs);
    if (threads >= 0) {
        const unsigned hardware = std::thread::hardware_concurrency();
        const int expected = static_cast<int>(std::ceil(static_cast<float>(hardware) / 3.0F));
        if (arguments.value(threads + 1).toInt() == expected)
            arguments[threads + 1] = u"THREADS"_qs;
    }
    static const QRegularExpression progressFile(u"^.*/progress_\\d+\\.txt$"_qs);
    return arguments.replaceInStrings(progressFile, u"PROGRESS"_qs).join(u' ');
}

} // namespace

class VideoCommandsTest : public QObject
{
    Q_OBJECT

private slots:
    void buildsWholeCommands_data();
    void buildsWholeCommands();
    void choosesStreamsAndCodecs_data();
    void choosesStreamsAndCodecs();
    void findsTheDuration_data();
    void findsTheDuration();
    void aSourceThatCannotBeOpenedChangesNothing();
    void progressFilesAreNumbered();
};

void VideoCommandsTest::buildsWholeCommands_data()
{
    QTest::addColumn<int>("builder");
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("scale");
    QTest::addColumn<bool>("isPercentage");
    QTest::addColumn<QString>("command");
    const QString head = u"-i IN -c:v libx264 -pix_fmt yuv420p "_qs;
    const QString transcode = u" -filter_threads 1 -y -threads THREADS OUT -progress PROGRESS"_qs;
    QTest::newRow("quality") << int{Quality} << u"hd-1080.mp4"_qs << u"2"_qs << false
                             << head +
                                    u"-map 0:v:0 -c:a aac -ac 2 -map 0:a -preset veryfast -crf 23 "
                                    "-vf scale=960:540"_qs +
                                    transcode;
    QTest::newRow("quality, sound alone")
        << int{Quality} << u"sound-only.m4a"_qs << u"1"_qs << false
        << head + u"-c:a aac -ac 2 -map 0:a -preset veryfast -crf 23 -vf scale=0:0"_qs + transcode;
    QTest::newRow("size, two sounds")
        << int{Size} << u"two-audio.mkv"_qs << u"1"_qs << true
        << head +
               u"-c:a aac -map 0 -c:s copy -ac 2 -preset veryfast -vb Nk -minrate Nk "
               "-maxrate Nk -bufsize Nk -vf scale=320:240"_qs +
               transcode;
    QTest::newRow("size, no sound") << int{Size} << u"video-only.mp4"_qs << u"4"_qs << true
                                    << head +
                                           u"-c:a aac -ac 2 -preset veryfast -vb Nk -minrate Nk -maxrate Nk "
                                           "-bufsize Nk -vf scale=80:60"_qs +
                                           transcode;
    const QString sampleEnd = u" -ac 2 -y -t 15 OUT -progress PROGRESS"_qs;
    QTest::newRow("sample at full size has no filter") << int{Sample} << u"hd-1080.mp4"_qs << u"1"_qs << false
                                                       << head + u"-preset veryfast -crf 23"_qs + sampleEnd;
    QTest::newRow("sample of a size target")
        << int{Sample} << u"hd-1080.mp4"_qs << u"4"_qs << true
        << head + u"-preset veryfast -vb Nk -minrate Nk -maxrate Nk -bufsize Nk -vf scale=480:272"_qs +
               sampleEnd;
}

void VideoCommandsTest::buildsWholeCommands()
{
    QFETCH(const int, builder);
    QFETCH(const QString, source);
    QFETCH(const QString, scale);
    QFETCH(const bool, isPercentage);
    QFETCH(const QString, command);
    const MessageCapture messages;
    const TestFolder folder;
    const QString input = folder.path(u"-a \"film\" "_qs + source);
    QVERIFY(QFile::link(media(source), input));
    const QString output = folder.path(u"out put.mp4"_qs);
    VideoCompressor task(params(static_cast<Builder>(builder), input, output, scale, isPercentage));
    QString built = normalised(build(task, static_cast<Builder>(builder)), input, output);
    static const QRegularExpression bitrate(u"\\b(\\d+)k\\b"_qs);
    const QString kbit = bitrate.match(built).captured(1);
    if (isPercentage) {
        // Half the size over the length, at the shortest 3 s, which the counting in pairs of 512 makes
        // shorter.
        const double wholeKbit = static_cast<double>(QFileInfo(media(source)).size()) * 0.5 * 8 / 3000;
        QVERIFY2(kbit.toInt() > 0 && kbit.toInt() < wholeKbit * 1.5, qPrintable(kbit));
        built.replace(kbit + u'k', u"Nk"_qs);
    }
    QCOMPARE(built, command);
}

void VideoCommandsTest::choosesStreamsAndCodecs_data()
{
    QTest::addColumn<int>("builder");
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("fragment"); ///< what the command has
    QTest::addColumn<QString>("never");    ///< what it must not have; "none": nothing to look for
    const QString none = u"none"_qs;
    QTest::newRow("cover first: the film's stream")
        << int{Quality} << u"cover-before.mp4"_qs << u"o.mp4"_qs << u"-map 0:v:1 "_qs << u"-map 0:v:0"_qs;
    QTest::newRow("cover last") << int{Quality} << u"cover-after.mp4"_qs << u"o.mp4"_qs << u"-map 0:v:0 "_qs
                                << u"-map 0:v:1"_qs;
    QTest::newRow("a cover alone") << int{Quality} << u"cover.mp3"_qs << u"o.mp4"_qs << u"-map 0:v:0 "_qs
                                   << none;
    QTest::newRow("text subtitles into mp4")
        << int{Quality} << u"subs-text.mkv"_qs << u"o.MP4"_qs << u"-c:s mov_text -map 0:s "_qs << none;
    QTest::newRow("text subtitles elsewhere")
        << int{Quality} << u"subs-text.mkv"_qs << u"o.mov"_qs << u"-c:s copy -map 0:s "_qs << none;
    QTest::newRow("one bitmap subtitle keeps all out")
        << int{Quality} << u"subs-mixed.mkv"_qs << u"o.mkv"_qs << u"-map 0:a "_qs << u"-c:s"_qs;
    QTest::newRow("size: two subtitles of any kind")
        << int{Size} << u"subs-mixed.mkv"_qs << u"o.mkv"_qs << u"-map 0 -c:s copy "_qs << none;
    QTest::newRow("size: one bitmap subtitle")
        << int{Size} << u"subs-bitmap.mkv"_qs << u"o.mkv"_qs << u"-ac 2"_qs << u"-c:s"_qs;
    QTest::newRow("size: sound's codec without sound")
        << int{Size} << u"video-only.mp4"_qs << u"o.avi"_qs << u"-c:a mp3 -ac 2"_qs << none;
    QTest::newRow("quality: no sound, no codec")
        << int{Quality} << u"video-only.mp4"_qs << u"o.avi"_qs << u"-map 0:v:0"_qs << u"-ac 2"_qs;
    QTest::newRow("m2ts") << int{Quality} << u"ts.ts"_qs << u"o.m2ts"_qs << u"-c:a ac3 -ac 2"_qs << none;
    QTest::newRow("another container")
        << int{Quality} << u"ts.ts"_qs << u"o.webm"_qs << u"-ac 2 -map 0:a"_qs << u"-c:a"_qs;
    QTest::newRow("turned by 90") << int{Quality} << u"rotate-90.mp4"_qs << u"o.mp4"_qs
                                  << u"scale=240:320 "_qs << none;
    QTest::newRow("wide pixels") << int{Size} << u"sar-4-3.mp4"_qs << u"o.mp4"_qs << u"scale=1920:1080 "_qs
                                 << none;
    QTest::newRow("odd sides") << int{Size} << u"odd-481x719.mp4"_qs << u"o.mp4"_qs << u"scale=484:720 "_qs
                               << none;
}

void VideoCommandsTest::choosesStreamsAndCodecs()
{
    QFETCH(const int, builder);
    QFETCH(const QString, source);
    QFETCH(const QString, output);
    QFETCH(const QString, fragment);
    QFETCH(const QString, never);
    const MessageCapture messages;
    VideoCompressor task(params(static_cast<Builder>(builder), media(source), output, u"1"_qs, false));
    const QString command = build(task, static_cast<Builder>(builder)).join(u' ');
    QVERIFY2(command.contains(fragment), qPrintable(command));
    QVERIFY2(!command.contains(never), qPrintable(command));
}

void VideoCommandsTest::findsTheDuration_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<qint64>("durationMs");
    QTest::newRow("film") << u"hd-1080.mp4"_qs << qint64{3000};
    QTest::newRow("cover first: the film's") << u"cover-before.mp4"_qs << qint64{4000};
    QTest::newRow("sound alone") << u"sound-only.m4a"_qs << qint64{4000};
    QTest::newRow("unknown to the container: scanned") << u"live.mkv"_qs << qint64{4000};
}

void VideoCommandsTest::findsTheDuration()
{
    QFETCH(const QString, source);
    QFETCH(const qint64, durationMs);
    const MessageCapture messages;
    VideoCompressor task(params(Quality, media(source), u"o.mp4"_qs, u"1"_qs, false));
    QVERIFY(!task.buildQualityCommand().isEmpty());
    QVERIFY2(std::abs(task.durationMs() - durationMs) <= 100, qPrintable(QString::number(task.durationMs())));
}

void VideoCommandsTest::aSourceThatCannotBeOpenedChangesNothing()
{
    const MessageCapture messages;
    const TestFolder folder;
    const QString input = folder.path(u"film.mp4"_qs);
    QVERIFY(QFile::copy(media(u"hd-1080.mp4"_qs), input));
    VideoCompressor task(params(Quality, input, u"o.mp4"_qs, u"1"_qs, false));
    QVERIFY(!task.buildQualityCommand().isEmpty());
    const qint64 durationMs = task.durationMs();
    folder.write(u"film.mp4"_qs, QByteArray(5000, 'g'));
    QCOMPARE(task.buildQualityCommand(), QStringList());
    QCOMPARE(task.buildSizeCommand(), QStringList());
    QCOMPARE(task.buildSampleCommand(), QStringList());
    QCOMPARE(task.durationMs(), durationMs);
}

void VideoCommandsTest::progressFilesAreNumbered()
{
    const MessageCapture messages;
    VideoCompressor task(params(Quality, media(u"hd-1080.mp4"_qs), u"o.mp4"_qs, u"1"_qs, false));
    static const QRegularExpression number(u"progress_(\\d+)\\.txt"_qs);
    const auto next = [&](Builder builder) {
        return number.match(build(task, builder).last()).captured(1).toInt();
    };
    const int first = next(Quality);
    QVERIFY(first >= 2);
    QCOMPARE(next(Size), first + 1);
    QCOMPARE(next(Sample), first + 2);
}

QTEST_GUILESS_MAIN(VideoCommandsTest)
#include "video_commands_test.moc"
