// Image sizes, bitrates, codecs and choices: values in, values out, no process and no file.
#include <QSize>
#include <QTest>

#include <array>
#include <future>

#include "compressor/CompressorEntry.h"
#include "demux/MediaDescription.h"
#include "hostlibs/VxMediaInfo.h"
#include "video/CommandSteps.h"
#include "video/PictureSize.h"
#include "video/ProgressFile.h"
#include "video/ProgressThread.h"
#include "video/TargetBitrate.h"

using namespace Qt::StringLiterals;

namespace {

QSize displayed(int width, int height, AVRational ratio, int rotation = 0)
{
    Vantor::VideoStreamDescription stream;
    stream.width = width;
    stream.height = height;
    stream.sampleAspectRatio = ratio;
    stream.rotation = rotation;
    return displaySize(stream);
}

int kbit(qint64 size, qint64 durationMs, const QList<int>& audio, const QString& percentage,
         qint64 fallbackMs = 0)
{
    Vantor::MediaInfoV3 info;
    info.duration = durationMs;
    info.size = size;
    for (const int bitrate : audio) {
        info.audioStreams.append(QSharedPointer<Vantor::MediaInfoAudioStream>::create());
        info.audioStreams.last()->bitrate = bitrate;
    }
    return targetBitrateKbit(info, percentage, fallbackMs);
}

QVariant progressOf(const char* line, float durationMs = 10000)
{
    const auto found = progressIn(line, durationMs);
    return found ? QVariant(*found) : QVariant();
}

// The sound's codec in every container that a host is offered.
QString codecs()
{
    QString found;
    for (const QVariant& format : CompressorEntry()->supportedVideoFormats())
        found +=
            format.toString() + audioCodecElement(u"o."_s + format.toString().toUpper()).mid(4) + u", "_s;
    return found;
}

QString taskFor(const QVariant& outputPath)
{
    const auto task = CompressorEntry()->createTask({{u"outputPath"_s, outputPath}});
    return task ? QString::fromLatin1(task->metaObject()->className()) : QString();
}

// How many of 4000 progress files have a name of their own.
qsizetype differentProgressFiles()
{
    const auto thousand = [] {
        QStringList names;
        while (names.size() < 1000)
            names.append(ProgressFile::newPath());
        return names;
    };
    std::array<std::future<QStringList>, 4> threads;
    for (auto& thread : threads)
        thread = std::async(std::launch::async, thousand);
    QStringList all;
    for (auto& thread : threads)
        all += thread.get();
    return all.size() - all.removeDuplicates();
}

const AVRational kSquare{1, 1};
const QString kHalf = u"50"_s;
constexpr qint64 kSize = 100000000;

// Found when the test runs: before main() the tables that are asked need not be there yet.
QList<std::tuple<const char*, QVariant, QVariant>> numbersFound()
{
    return {
        {"a tie goes down from 2", roundToMultiple(2, 4), 4},
        {"a tie goes down from 270", roundToMultiple(270, 4), 272},
        {"5 goes up", roundToMultiple(5, 4), 4},
        {"7 goes down", roundToMultiple(7, 4), 8},
        {"a tie below zero goes up", roundToMultiple(-6, 4), -8},
        {"odd sides stay odd", displayed(481, 719, kSquare), QSize(482, 720)},
        {"on its side, not turned", displayed(1920, 1080, kSquare, 90), QSize(1080, 1920)},
        {"on its other side, not turned", displayed(1920, 1080, kSquare, 270), QSize(1080, 1920)},
        {"on its head, turned", displayed(1920, 1080, kSquare, 180), QSize(1920, 1080)},
        {"wide pixels count as square, or turn first", displayed(1440, 1080, {4, 3}, 90), QSize(1080, 1920)},
        {"only the height divides", displayed(721, 480, {3, 2}), QSize(722, 320)},
        {"neither product divides", displayed(718, 478, {10, 11}), QSize(718, 478)},
        {"an unknown ratio divides", displayed(720, 576, {0, 1}), QSize(720, 576)},
        {"a product beyond 32 bits traps", displayed(65536, 32768, {65537, 65536}), QSize(2, 32768)},
        {"scale 1 leaves what is no multiple", scaledSize({1922, 1078}, u"1"_s), QSize(1924, 1080)},
        {"scale 2", scaledSize({1920, 1080}, u"2"_s), QSize(960, 540)},
        {"scale 4", scaledSize({1920, 1080}, u"4"_s), QSize(480, 272)},
        {"another scale divides or rounds", scaledSize({482, 718}, u"3"_s), QSize(482, 718)},
        {"with sound", kbit(kSize, 60000, {128000}, kHalf), 6674},
        {"without sound", kbit(kSize, 60000, {}, kHalf), 6676},
        {"no number, with sound", kbit(kSize, 60000, {128000}, {}), -2},
        {"the builder's duration is not asked", kbit(kSize, 0, {}, kHalf, 60000), 6676},
        {"under half a second divides by zero", kbit(100000, 100, {}, kHalf, 100), 780},
        {"too much traps", kbit(1, 600, {}, u"1e30"_s), 8388606},
        {"a sum of sounds overflows", kbit(0, 60000, {2000000000, 2000000000}, kHalf), -61036},
        {"negative progress", progressOf("out_time_us=-2000000"), 0.2F},
        {"progress past the end is capped", progressOf("out_time_us=15000000"), 1.5F},
        {"progress that is no number", progressOf("out_time_us=N/A"), 0.0F},
        {"progress of more than 32 bits", progressOf("out_time_us=3600000000", 7200000), 0.5F},
        {"Windows line ends", progressOf("out_time_us=5000000\r"), 0.5F},
        {"a line of three parts", progressOf("out_time_us=1000000=2"), QVariant()},
        {"a line of one part", progressOf("out_time_us"), QVariant()},
        {"a key in capitals", progressOf("OUT_TIME_US=5"), QVariant()},
        {"a key with a blank", progressOf(" out_time_us=5"), QVariant()},
        {"no duration to divide by", progressOf("out_time_us=5000000", 0), QVariant()},
        {"a container is missing, or its codec is wrong", codecs(),
         u"mp4 aac, mov aac, mkv aac, m4v aac, avi mp3, flv mp3, f4v aac, m2ts ac3, "_s},
        {"webm gets a codec", audioCodecElement(u"o.webm"_s), QString()},
        {"a suffix in capitals is none", taskFor(u"photo.JPG"_s), u"JpegCompressor"_s},
        {"jpeg is a video", taskFor(u"photo.Jpeg"_s), u"JpegCompressor"_s},
        {"the last suffix does not count", taskFor(u"photo.mp4.png"_s), u"PngCompressor"_s},
        {"webp is a video", taskFor(u"a.WebP"_s), u"WebpCompressor"_s},
        {"a folder's suffix counts", taskFor(u"folder.jpg/movie"_s), u"VideoCompressor"_s},
        {"a path that is no text", taskFor(5), u"VideoCompressor"_s},
        {"no output path", taskFor(QString()), QString()},
        {"two builds in two threads share a progress file", differentProgressFiles(), 4000},
    };
}

} // namespace

class VideoNumbersTest : public QObject
{
    Q_OBJECT

private slots:
    void numbers_data()
    {
        QTest::addColumn<QVariant>("found");
        QTest::addColumn<QVariant>("expected");
        for (const auto& [fault, found, expected] : numbersFound())
            QTest::newRow(fault) << found << expected;
    }
    void numbers()
    {
        QFETCH(const QVariant, found);
        QTEST(found, "expected");
    }
};

QTEST_APPLESS_MAIN(VideoNumbersTest)
#include "video_numbers_test.moc"
