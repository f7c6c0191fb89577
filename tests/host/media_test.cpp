#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include "host/media/ImageMetadata.h"
#include "host/media/LengthVerdict.h"
#include "host/media/Losses.h"
#include "host/media/MediaFacts.h"
#include "host/media/SuffixHint.h"
#include "host/media/VideoMetadata.h"
#include "host/media/VideoProbe.h"
#include "tests/support/TestFolder.h"

using namespace Qt::StringLiterals;

/// What sources and results are found to be, whole, cut and disguised, and what copying metadata does to them.
class MediaTest : public QObject
{
    Q_OBJECT

    TestFolder mFolder;

    // Names are those of the folder, and of the test media as media/NAME.
    QString path(const QString& name) const { return mFolder.path(name); }
    QByteArray bytes(const QString& name) const { return TestFolder::read(path(name)); }
    MediaFacts inspect(const QString& name) const { return inspectMedia(path(name)); }
    bool ffmpeg(const QString& arguments) const { return run((u"-v error -y "_s + arguments).split(u' ')); }
    bool run(const QStringList& arguments) const
    {
        QProcess process;
        process.setWorkingDirectory(mFolder.path());
        process.start(QCoreApplication::applicationDirPath() + "/ffmpeg"_L1, arguments);
        return process.waitForFinished() && process.exitCode() == 0;
    }
    VideoFacts probe(const QString& name) const
    {
        VideoProbe probe(path(name));
        QSignalSpy answers(&probe, &VideoProbe::answered);
        return answers.wait(20'000) && answers.size() == 1 ? probe.facts() : VideoFacts{};
    }

private slots:
    // photo.jpg has a colour profile, and an EXIF with a preview that turns it by 90 degrees.
    void initTestCase()
    {
        QVERIFY(QDir().mkpath(path(u"media"_s)));
        for (const QString& name : QDir(qEnvironmentVariable("VXC_TEST_MEDIA")).entryList(QDir::Files))
            QVERIFY(QFile::copy(media(name), path(u"media/"_s + name)));
        for (const auto& name :
             {u"a.jpg"_s, u"a.png"_s, u"a.gif"_s, u"a.webp"_s, u"a.bmp"_s, u"alpha.webp"_s})
            QVERIFY(QFile::copy(media(name), path(name)));
        const auto exif =
            "FFE100264578696600004949 2A00080000000100120103000100000006000000 00000000 FFD8FFD9";
        const auto profile = "FFE200944943435F50524F46494C4500 010100000084"; // and 128 bytes
        mFolder.write(u"photo.jpg"_s, bytes(u"a.jpg"_s).first(2) + QByteArray::fromHex(exif) +
                                          QByteArray::fromHex(profile) + QByteArray(128, 'p') +
                                          bytes(u"a.jpg"_s).sliced(2));
        mFolder.write(u"more.jpg"_s, bytes(u"photo.jpg"_s) + QByteArray(99'999, '\xFF') + "video");
        mFolder.write(u"preview.jpg"_s, bytes(u"photo.jpg"_s).first(42)); // cut in it
    }

    // The file, what it is (with ? where it is cut), a suffix and the one to go by, and whether its beginning
    // alone is seen to be cut.
    void contentTells()
    {
        const QString files =
            u"photo.jpg|JPEG|:|cut;more.jpg|JPEG|ts:media|cut;preview.jpg|JPEG?|:|cut;a.png|PNG|:|cut;"
            "a.gif|GIF|:|cut;a.webp|WebP|:|cut;a.bmp|BMP|:|cut;media/mp4-moov-first.mp4|MP4|ts:mp4|cut;"
            "media/mp4-moov-last.mp4|MP4|flv:mp4|cut;media/mp4-fragmented.mp4|MP4|vob:mp4|cut;"
            "media/subs-one.mkv|Matroska|ts:mkv|cut;media/avi.avi|AVI|mp4:|cut;media/"
            "wmv-many.wmv|ASF|FLV:wmv|cut;"
            "media/flv.flv|FLV|flv:|;media/ts.ts|MPEG transport stream|ts:|;"
            "media/vob.vob|MPEG program stream|vob:|;media/raw.h264|H.264 without a container|:|"_s;
        for (const QString& file : files.split(u';')) {
            const QStringList row = file.split(u'|');
            const bool isJpeg = row[1].startsWith("JPEG"_L1);
            const MediaFacts facts = inspect(row[0]);
            QCOMPARE(facts.name + (facts.damage.isEmpty() ? ""_L1 : "?"_L1), row[1]);
            const QString suffix = row[2].section(u':', 0, 0);
            QCOMPARE(suffix + u':' + trueSuffix(facts, suffix), row[2]);
            QCOMPARE(facts.orientation, isJpeg ? 6 : 1);
            QCOMPARE(facts.hasIccProfile, isJpeg && facts.damage.isEmpty());
            mFolder.write(u"half"_s, bytes(row[0]).first(qMin(bytes(row[0]).size() / 2, 900)));
            QVERIFY2(inspect(u"half"_s).damage.isEmpty() == row[3].isEmpty(), qPrintable(file));
        }
    }

    void notMediaIsRefusedAtOnce()
    {
        QVERIFY(QFile(mFolder.write(u"zeros.vob"_s, {})).resize(qint64(3) << 30));
        mFolder.write(u"text.jpg"_s, "A story, not an image.");
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(inspect(u"zeros.vob"_s).kind, MediaKind::Unknown);
        QCOMPARE(inspect(u"text.jpg"_s).kind, MediaKind::Unknown);
        if (QProcess::execute(u"mkfifo"_s, {path(u"pipe.png"_s)}) == 0)
            QCOMPARE(inspect(u"pipe.png"_s).kind, MediaKind::Unknown);
        QVERIFY(timer.elapsed() < 1000);
        QVERIFY(!probe(u"zeros.vob"_s).error.isEmpty());
        QCOMPARE(suggestSuffix(u"JPGG"_s, {u"jpg"_s, u"jpeg"_s, u"png"_s}), u"jpg"_s);
        QCOMPARE(suggestSuffix(u"mpeg"_s, {u"jpg"_s, u"jpeg"_s, u"png"_s}), QString());
    }

    // Pixels and sources stay as they are, and so does the result when there is nothing to read.
    void metadataSurvives()
    {
        if (!VXC_HAS_METADATA)
            QSKIP("built without exiv2");
        QVERIFY(ffmpeg(u"-i photo.jpg -c:v libwebp turned.webp"_s));
        const MediaFacts source = inspect(u"photo.jpg"_s);
        const QByteArray sourceBytes = bytes(u"photo.jpg"_s);
        for (const auto& name : {u"turned.webp"_s, u"a.jpg"_s, u"a.png"_s, u"alpha.webp"_s}) {
            const QByteArray before = bytes(name);
            QVERIFY(ffmpeg(u"-noautorotate -i %1 -f rawvideo pixels"_s.arg(name)));
            QVERIFY(!imageLosses(source, inspect(name)).isEmpty());
            QVERIFY(!copyImageMetadata(path(u"text.jpg"_s), path(name)).isEmpty());
            QCOMPARE(bytes(name), before);
            QCOMPARE(copyImageMetadata(path(u"photo.jpg"_s), path(name)), QString());
            QCOMPARE(inspect(name).orientation, name == "turned.webp"_L1 ? 1 : 6);
            QCOMPARE(imageLosses(source, inspect(name)).size(), 0);
            QVERIFY(ffmpeg(u"-noautorotate -i %1 -f rawvideo after"_s.arg(name)));
            QCOMPARE(bytes(u"after"_s), bytes(u"pixels"_s));
            QCOMPARE(bytes(u"photo.jpg"_s), sourceBytes);
        }
    }

    // The video, the seconds taken of it, the LengthVerdict, the losses.
    void videosAreCompared()
    {
        const QString videos =
            u"subs-mixed.mkv|99|0|audio-tracks subtitles;truncated-moov-first.mp4|99|2|;"
            "vob.vob|2|1|audio-tracks;vob-chain.vob|99|1|audio-tracks;cover-after.mp4|3|2|cover"_s;
        for (const QString& video : videos.split(u';')) {
            const QStringList row = video.split(u'|');
            QVERIFY(ffmpeg(u"-i media/%1 -map 0:v:0 -map 0:a:0 -t %2 video.mp4"_s.arg(row[0], row[1])));
            const VideoFacts before = probe(u"media/"_s + row[0]);
            const VideoFacts after = probe(u"video.mp4"_s);
            QVERIFY2(lengthVerdict(before, after).kind == row[2].toInt(), qPrintable(video));
            QStringList losses;
            for (const Warning& loss : videoLosses(before, after))
                losses.append(loss.id);
            QCOMPARE(losses.join(u' '), row[3]);
        }
    }

    void videoMetadataComesBack()
    {
        QVERIFY(ffmpeg(u"-i media/mp4-moov-last.mp4 -c copy -metadata creation_time=2018-05-06T07:08:09Z "
                       "-metadata com.camera.Make=Acme -movflags use_metadata_tags camera.mov"_s));
        QVERIFY(ffmpeg(u"-i camera.mov small.mp4"_s));
        const VideoFacts source = probe(u"camera.mov"_s);
        const VideoFacts result = probe(u"small.mp4"_s);
        QCOMPARE(missingVideoMetadata(source, result, u"MP4"_s).size(), 2);
        QVERIFY(run(videoMetadataArguments(source, result, path(u"camera.mov"_s), path(u"small.mp4"_s),
                                           path(u"full.mp4"_s))));
        QCOMPARE(missingVideoMetadata(source, probe(u"full.mp4"_s), u"mp4"_s), QStringList());
        QCOMPARE(lengthVerdict(source, probe(u"full.mp4"_s)).kind, LengthVerdict::Whole);
    }
};

QTEST_GUILESS_MAIN(MediaTest)
#include "media_test.moc"
