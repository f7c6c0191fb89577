// The three command builders on real sources.
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>

#include <thread>

#include "tests/support/Rows.h"
#include "tests/support/TestFolder.h"
#include "tests/support/TestSystem.h"
#include "video/VideoCompressor.h"

using namespace Qt::StringLiterals;

namespace {

// The fault, the builder (q: quality, s: size; with e: its sample), source, the output's suffix, scale, the
// duration that is found (0: whichever), what the command has, piece by piece in this order, and what it must
// not have. IN, OUT, THREADS, PROGRESS and Nk stand for what differs from machine to machine; HEAD, BITRATE
// and END for what commands share.
const char kCommands[] = R"(
quality                                   | q  | hd-1080.mp4      | mp4  | 2 | 3000 | HEAD -map 0:v:0 -c:a aac -ac 2 -map 0:a -preset veryfast -crf 23 -vf scale=960:540 END |
sound alone has no image's duration     | q  | sound-only.m4a   | mp4  | 1 | 4000 | HEAD -c:a aac -ac 2 -map 0:a -preset veryfast -crf 23 -vf scale=0:0 END |
size: two sounds, one copied              | s  | two-audio.mkv    | mp4  | 1 | 0    | HEAD -c:a aac -map 0 -c:s copy -ac 2 BITRATE -vf scale=320:240 END |
size: no sound, no codec                  | s  | video-only.mp4   | avi  | 4 | 0    | HEAD -c:a mp3 -ac 2 BITRATE -vf scale=80:60 END |
a sample at full size is filtered         | qe | hd-1080.mp4      | mp4  | 1 | 0    | HEAD -preset veryfast -crf 23 -ac 2 -y -t 15 OUT -progress PROGRESS $ |
sample of a size target                   | se | hd-1080.mp4      | mp4  | 4 | 0    | HEAD BITRATE -vf scale=480:272 -ac 2 -y -t 15 OUT -progress PROGRESS $ |
cover first: its stream, size or duration | q  | cover-before.mp4 | mp4  | 1 | 4000 | -map 0:v:1 ; scale=320:240 | -map 0:v:0
size: cover first: its size or duration   | s  | cover-before.mp4 | mp4  | 1 | 4000 | scale=320:240 | -crf
cover last: its stream                    | q  | cover-after.mp4  | mp4  | 1 | 4000 | -map 0:v:0 | -map 0:v:1
a cover alone is left out                 | q  | cover.mp3        | mp4  | 1 | 4000 | -map 0:v:0 | -map 0:v:1
text subtitles copied into mp4            | q  | subs-one.mkv     | MP4  | 1 | 0    | -c:s mov_text -map 0:s |
text subtitles converted elsewhere        | q  | subs-one.mkv     | mov  | 1 | 0    | -c:s copy -map 0:s |
one bitmap subtitle keeps none out        | q  | subs-mixed.mkv   | mkv  | 1 | 0    | -map 0:a | -c:s
size: two subtitles of any kind           | s  | subs-mixed.mkv   | mkv  | 1 | 0    | -map 0 -c:s copy |
size: one text subtitle maps all          | s  | subs-one.mkv     | mkv  | 1 | 0    | -c:a aac -c:s copy -ac 2 |
size: one bitmap subtitle is copied       | s  | subs-bitmap.mkv  | mkv  | 1 | 0    | -c:a aac -ac 2 | -c:s
quality: a codec without sound            | q  | video-only.mp4   | avi  | 1 | 0    | -map 0:v:0 -preset |
another container gets a codec            | q  | ts.ts            | webm | 1 | 0    | -ac 2 -map 0:a | -c:a
turned by 90                              | q  | rotate-90.mp4    | mp4  | 1 | 0    | scale=240:320 |
wide pixels                               | s  | sar-4-3.mp4      | mp4  | 1 | 0    | scale=1920:1080 |
unknown to the container: not scanned     | q  | live.mkv         | mp4  | 1 | 4000 | -crf |
size: a live sample has another bitrate   | se | live.mkv         | mp4  | 1 | 0    | BITRATE |
)";
const QString kHead = u"^ -i IN -c:v libx264 -pix_fmt yuv420p"_s;
const QString kBitrate = u"-preset veryfast -vb Nk -minrate Nk -maxrate Nk -bufsize Nk"_s;
const QString kEnd = u"-filter_threads 1 -y -threads THREADS OUT -progress PROGRESS $"_s;

QVariantMap params(bool isPercentage, const QString& input, const QString& output, const QString& scale)
{
    return {{u"inputPath"_s, input},
            {u"outputPath"_s, output},
            {u"scale"_s, scale},
            {u"isPercentage"_s, isPercentage},
            {u"quality"_s, isPercentage ? 50 : 23},
            {u"preset"_s, u"slow"_s}};
}

} // namespace

class VideoCommandsTest : public QObject
{
    Q_OBJECT

private slots:
    void commands_data() { addRows(kCommands); }
    void commands()
    {
        const QString builder = cells()[1];
        const QString source = media(cells()[2]);
        const TestFolder folder;
        QString name = u"-a \"video\" "_s + cells()[2];
        const QString input = folder.path(TestSystem::reasonAgainstName(name) ? name.remove(u'"') : name);
        QVERIFY(QFile::copy(source, input));
        const QString output = folder.path(u"out put."_s + cells()[3]);
        VideoCompressor task(params(builder.startsWith(u's'), input, output, cells()[4]));
        const QStringList fragments = builder.endsWith(u'e') ? task.buildSampleCommand()
                                      : builder == u"s"      ? task.buildSizeCommand()
                                                             : task.buildQualityCommand();
        // As ffmpeg gets it.
        const QStringList words = QProcess::splitCommand(fragments.join(u' '));
        QString command = u"^ "_s + words.join(u' ') + u" $ "_s;
        const unsigned threads = (std::thread::hardware_concurrency() + 2) / 3;
        command.replace(u"-threads %1 "_s.arg(threads), u"-threads THREADS "_s);
        command.replace(input, u"IN"_s).replace(output, u"OUT"_s);
        command.replace(QRegularExpression(u" [^ ]*/vx .*/progress_\\d+\\.txt "_s), u" PROGRESS "_s);
        const QString kbit = QRegularExpression(u" (\\d+)k "_s).match(command).captured(1);
        if (!kbit.isEmpty()) {
            // Half the size over the length, at the shortest 3 s, which the counting in 512s makes shorter.
            const double wholeKbit = static_cast<double>(QFileInfo(source).size()) * 0.5 * 8 / 3000;
            QVERIFY2(kbit.toInt() > 0 && kbit.toInt() < wholeKbit * 1.5, qPrintable(kbit));
            command.replace(u' ' + kbit + u"k "_s, u" Nk "_s);
        }
        qsizetype at = 0;
        for (QString piece : cells()[6].split(u" ; "_s)) {
            piece.replace(u"HEAD"_s, kHead).replace(u"BITRATE"_s, kBitrate).replace(u"END"_s, kEnd);
            at = command.indexOf(piece + u' ', at);
            QVERIFY2(at >= 0, qPrintable(command + u"\nhas no "_s + piece));
        }
        QVERIFY2(cells()[7].isEmpty() || !command.contains(cells()[7]), qPrintable(command));
        const qint64 durationMs = cells()[5].toLongLong();
        QVERIFY2(durationMs == 0 || std::abs(task.durationMs() - durationMs) <= 100,
                 qPrintable(QString::number(task.durationMs())));
    }

    void aSourceThatCannotBeOpenedChangesNothing()
    {
        const TestFolder folder;
        const QString input = folder.write(u"video.mp4"_s, TestFolder::read(media("hd-1080.mp4")));
        VideoCompressor task(params(false, input, u"o.mp4"_s, u"1"_s));
        QVERIFY(!task.buildQualityCommand().isEmpty());
        const qint64 durationMs = task.durationMs();
        folder.write(u"video.mp4"_s, QByteArray(5000, 'g'));
        QVERIFY(task.buildQualityCommand().isEmpty() && task.buildSizeCommand().isEmpty());
        QVERIFY(task.buildSampleCommand().isEmpty());
        QCOMPARE(task.durationMs(), durationMs);
    }
};

QTEST_GUILESS_MAIN(VideoCommandsTest)
#include "video_commands_test.moc"
