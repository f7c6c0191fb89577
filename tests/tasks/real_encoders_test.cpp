// A handful of runs with the real encoders and real media.
#include <QProcess>

#include "demux/FFDemuxer.h"
#include "demux/MediaDescription.h"
#include "tests/support/TaskTest.h"

using namespace Qt::StringLiterals;

namespace {

// A source and its output, and what ffmpeg has to have for that.
const char kImages[] = R"(
jpg from jpg | photo.jpg | o.jpg  |
jpg from png | photo.png | o.jpeg |
png          | photo.png | o.png  |
webp         | photo.png | o.webp | libwebp
)";

// The way to run it, a source and its container, the streams, sizes and seconds of the result, none of a
// failure; what ffmpeg has to have for that.
const char kVideos[] = R"(
odd sides, four full planes  | video   | odd-481x719.mp4  | mkv | va 484x720 3 s  |
turned twice or not at all   | video   | rotate-90.mp4    | mp4 | va 240x320 4 s  |
the cover is encoded         | video   | cover-before.mp4 | mp4 | va 320x240 6 s  |
subtitles are lost           | video   | subs-one.mkv     | mp4 | vas 320x240 4 s | mov_text
no known duration            | video   | live.mkv         | avi | va 320x240 4 s  | libmp3lame
no image                   | video   | sound-only.m4a   | mov | a 4 s           |
garbage                      | video   | garbage.mp4      | mp4 |                 |
one of two sounds            | size   | two-audio.mkv    | mkv | vaa 320x240 4 s |
a sample is scaled           | sample | sar-4-3.mp4      | mp4 | v 1440x1080 3 s |
)";

// Decodes it whole.
bool canBeDecoded(const QString& file)
{
    const QStringList arguments{u"-v"_s,   u"quiet"_s,    u"-xerror"_s, u"-i"_s,   file,
                                u"-c:v"_s, u"rawvideo"_s, u"-f"_s,      u"null"_s, u"-"_s};
    return QProcess::execute(QCoreApplication::applicationDirPath() + u"/ffmpeg"_s, arguments) == 0;
}

} // namespace

class RealEncodersTest : public TaskTest
{
    Q_OBJECT

private slots:
    // The quality counts: less of it makes a smaller file.
    void images_data() { addRows(kImages); }
    void images()
    {
        if (const char* const reason = TestSystem::reasonAgainstFfmpeg({cells()[3]}))
            QSKIP(reason);
        const QString output = folder->path(cells()[2]);
        qint64 size = QFileInfo(media(cells()[1])).size();
        for (const int quality : {85, 20}) {
            TaskProbe probe(kKinds[Jpg], media(cells()[1]), output, quality);
            QVERIFY(probe.run());
            QCOMPARE(probe.finish().first, 0);
            const qint64 result = QFileInfo(output).size();
            QVERIFY(0 < result && result < size && canBeDecoded(output));
            size = result;
        }
    }

    void imageGrows()
    {
        for (const QString& name : {u"out.jpg"_s, u"out.webp"_s}) {
            const char* const reason = TestSystem::reasonAgainstFfmpeg({u"libwebp"_s});
            if (reason && name == u"out.webp")
                QSKIP(reason);
            TaskProbe probe(kKinds[Jpg], media("photo-poor.jpg"), folder->path(name), 100);
            QVERIFY(probe.run());
            QCOMPARE(probe.finish(), Finish(0, {}));
            QCOMPARE(TestFolder::read(folder->path(name)), TestFolder::read(media("photo-poor.jpg")));
        }
    }

    void imageIsCorrupt_data() { eachKind({""}, Jpg, Webp); }
    void imageIsCorrupt()
    {
        TaskProbe probe(kind(), media("garbage.mp4"), output());
        QVERIFY(probe.run());
        QVERIFY(probe.finish().first != 0 && (kind().isDirect || probe.finish().first == 1));
        QCOMPARE(probe.finish().second,
                 kind().isDirect ? u"fail"_s : u"The file is corrupt or not a standard file format"_s);
        QVERIFY(!QFile::exists(output()));
    }

    void videos_data() { eachKindOf(kVideos); }
    void videos()
    {
        if (const char* const reason = TestSystem::reasonAgainstFfmpeg({cells()[5]}))
            QSKIP(reason);
        const QString output = folder->path(u"out."_s + cells()[3]);
        const QString expected = cells()[4];
        TaskProbe probe(kind(), media(cells()[2]), output, kind().isPercentage ? 50 : 28);
        QVERIFY(probe.run());
        QCOMPARE(probe.finish().first == 0, !expected.isEmpty());
        QCOMPARE(QFile::exists(output), !expected.isEmpty());
        if (expected.isEmpty())
            return;
        // The monitor may tell more behind it.
        QCOMPARE(probe.progress.at(probe.progressAtFinish - 1), 1.0F);
        Vantor::FFDemuxer demuxer;
        QVERIFY(demuxer.open(output));
        const auto found = Vantor::describeMedia(demuxer);
        QString text;
        for (const auto& stream : found->streams)
            text += QLatin1Char("va?s"[stream->mediaType]);
        for (const auto& video : found->videoStreams)
            text += u" %1x%2"_s.arg(video->width).arg(video->height);
        QCOMPARE(text + u" %1 s"_s.arg((demuxer.durationMs() + 500) / 1000), expected);
    }
};

QTEST_GUILESS_MAIN(RealEncodersTest)
#include "real_encoders_test.moc"
