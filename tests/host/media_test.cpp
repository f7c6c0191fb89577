#include <QBuffer>
#include <QEventLoop>
#include <QProcess>
#include <QTest>

#include "host/media/ImageChunks.h"
#include "host/media/ImageMetadata.h"
#include "host/media/LengthVerdict.h"
#include "host/media/Losses.h"
#include "host/media/SuffixHint.h"
#include "host/media/VideoMetadata.h"
#include "tests/support/Rows.h"
#include "tests/support/TestFolder.h"

using namespace Qt::StringLiterals;

/// A file that counts what is read of it.
class CountedFile : public QFile
{
public:
    using QFile::QFile;
    qint64 count = 0;

protected:
    qint64 readData(char* to, qint64 most) override
    {
        const qint64 read = QFile::readData(to, most);
        count += read;
        return read;
    }
};

/// What sources and results are found to be, whole, cut and disguised, and what copying metadata does to
/// them.
class MediaTest : public QObject
{
    Q_OBJECT

    TestFolder mFolder;

    // Names are those of the folder, and of the test media as media/NAME.
    QString path(const QString& name) const { return mFolder.path(name); }
    QByteArray bytes(const QString& name) const { return TestFolder::read(path(name)); }
    MediaFacts inspect(const QString& name) const { return inspectMedia(path(name)); }
    static MediaFacts inspectBytes(QByteArray bytes)
    {
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        return inspectMedia(buffer);
    }
    // None of these has a limit in time, which a busy machine would break.
    bool run(ToolCall call) const
    {
        call.folder = mFolder.path();
        return ToolRun::runAndWait(call).isSuccess();
    }
    bool ffmpeg(const QString& arguments) const
    {
        return run(ToolCall::ffmpeg((u"-y "_s + arguments).split(u' ')));
    }
    VideoFacts probe(const QString& name) const
    {
        return videoFactsIn(ToolRun::runAndWait(videoProbe(path(name))));
    }
    static QString idsOf(const QList<Warning>& losses)
    {
        QStringList ids;
        for (const Warning& loss : losses)
            ids.append(loss.id);
        return ids.join(u' ');
    }
    static QString wordsOf(const MediaFacts& facts)
    {
        return u"%1x%2"_s.arg(facts.size.width()).arg(facts.size.height()) +
               QLatin1String(facts.bitsPerSample > 8 ? " deep" : "") +
               QLatin1String(facts.hasAlpha ? " alpha" : "") +
               QLatin1String(facts.isAnimated ? " animated" : "") +
               QLatin1String(facts.hasIccProfile ? " icc" : "") +
               QLatin1String(facts.orientation != 1 ? " turned" : "") +
               QLatin1String(facts.damage.isEmpty() ? "" : "?");
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

    // What ffmpeg writes: options and name, the end of the generator, its facts. Later tests take the files.
    void headersTell()
    {
        const char* const kRows = R"(
            grey.png            |format=gray      |64x48
            bits.png            |format=monob     |64x48
            alpha.png           |format=rgba      |64x48 alpha
            greyalpha.png       |format=ya8       |64x48 alpha
            deep.png            |format=rgb48be   |64x48 deep
            deepalpha.png       |format=rgba64be  |64x48 deep alpha
            -f apng moves.png   |format=rgb24     |64x48 animated
            plain.tiff          |format=rgb24     |64x48
            alpha.tiff          |format=rgba      |64x48 alpha
            deep.tiff           |format=rgb48le   |64x48 deep
            lossy.webp          |format=yuv420p   |64x48
            lossyalpha.webp     |format=yuva420p  |64x48 alpha
            -lossless 1 l.webp  |format=rgb24     |64x48
            -lossless 1 la.webp |format=rgba      |64x48 alpha
            -c:v libwebp_anim moves.webp|fps=25   |64x48 alpha animated
            moves.gif           |fps=25           |64x48 alpha animated
            -global_palette 0 moves-local.gif|fps=25|64x48 alpha animated
            odd.bmp             |crop=63:47       |63x47
            plain.jpg           |format=yuvj444p  |64x48)";
        for (const QStringList& row : rowsOf(kRows)) {
            const QString name = row[0].section(u' ', -1);
            const int frames = name.startsWith("moves"_L1) ? 3 : 1;
            const QString arguments =
                u"-f lavfi -i testsrc2=s=64x48,format=rgba,colorchannelmixer=aa=0.5,%1 -frames:v %2 %3"_s;
            QVERIFY2(ffmpeg(arguments.arg(row[1]).arg(frames).arg(row[0])), qPrintable(name));
            QCOMPARE(name + u' ' + wordsOf(inspect(name)), name + u' ' + row[2]);
        }
        QCOMPARE(wordsOf(inspect(u"photo.jpg"_s)), u"64x48 icc turned"_s);
        const QByteArray bmp =
            bytes(u"a.bmp"_s).replace(14, 1, "\x6C").replace(28, 1, " ").replace(69, 1, "\xFF");
        QCOMPARE(wordsOf(inspectBytes(bmp)), u"64x48 alpha?"_s);
    }

    // A cut is seen wherever it falls. The file, and how many bytes of its end it can lack.
    void everyCutIsSeen()
    {
        QVERIFY(
            run({ToolCall::beside(u"cJpeg"_s), u"-restart 1 -outfile scans.jpg media/a.bmp"_s.split(u' ')}));
        // Two strips of 10 bytes after the directory.
        mFolder.write(u"strips.tiff"_s,
                      QByteArray::fromHex("49492A0008000000 0200 1101 0400 02000000 26000000 "
                                          "1701 0400 02000000 2E000000 00000000 "
                                          "36000000 40000000 0A000000 0A000000") +
                          QByteArray(20, 't'));
        QVERIFY(bytes(u"scans.jpg"_s).count("\xFF\xDA") > 2);
        for (const QStringList& row :
             rowsOf("photo.jpg|0\nscans.jpg|0\ndeepalpha.png|0\nmoves.png|0\nmoves.gif|0\nmoves-local.gif|0\n"
                    "la.webp|0\nlossyalpha.webp|0\nplain.tiff|4\nstrips.tiff|0\nodd.bmp|3")) {
            const QByteArray whole = bytes(row[0]);
            const MediaFacts facts = inspectBytes(whole);
            QVERIFY2(facts.kind == MediaKind::Image && facts.damage.isEmpty(), qPrintable(row[0]));
            for (qsizetype size = 18; size < whole.size(); ++size) {
                const MediaFacts cut = inspectBytes(whole.first(size));
                QVERIFY2(cut.format == facts.format, qPrintable(row[0]));
                QVERIFY2(cut.damage.isEmpty() == (size + row[1].toInt() >= whole.size()),
                         qPrintable(u"%1, %2 of %3 bytes"_s.arg(row[0]).arg(size).arg(whole.size())));
            }
            // What follows is another file's.
            QCOMPARE(inspectBytes(whole + QByteArray(99, '\xFF') + "video").damage, QString());
        }
        QVERIFY(!inspectBytes(QByteArray::fromHex("FFD8FFD9")).damage.isEmpty()); // whole, without an image
    }

    // What is read wrong, the file's beginning in hexadecimal (~ so many zeros), its MiB, whether it is cut.
    void largeContainersTell()
    {
        const char* const kRows = R"(
            the length in 8 bytes  |00000008 6D6F6F76 00000001 6D646174 0000000140000000|5121|0
            more than a percent    |00000008 6D6F6F76 00000001 6D646174 0000000140000000|5068|1
            less than a percent    |00000008 6D6F6F76 00000001 6D646174 0000000140000000|5070|0
            the index is cut off   |00000008 66726565 00000001 6D646174 0000000140000000|5119|1
            a box up to the end    |00000008 6D6F6F76 00000000 6D646174|9|0
            a box without a length |00000008 6D6F6F76 00000007 6D646174|9|0
            a segment's 8 bytes    |1A45DFA3 80 18538067 0100000140000000|5121|0
            a cut segment          |1A45DFA3 80 18538067 0100000140000000|5000|1
            a segment without end  |1A45DFA3 80 18538067 01FFFFFFFFFFFFFF|9|0
            a header of 2 bytes    |1A45DFA3 4001 00 18538067 0100000140000000|5000|1
            a chain of parts       |52494646 04000000 41564920 52494646 00000040 41564958|1025|0
            a cut chain            |52494646 04000000 41564920 52494646 00000040 41564958|1000|1
            a recorder cut off     |52494646 FFFFFFFF 41564920|9|0
            a cut ASF              |H ~14 P ~24 0000004001|5000|1
            an ASF after others    |H ~14 ~16 2000000000000000~8 P ~24 0000004001|5000|1
            an ASF that is live    |H ~14 P ~24 0000004001 ~43 01|5000|0)";
        for (const QStringList& row : rowsOf(kRows)) {
            QString hex = row[1];
            hex.replace(u'H', "3026B2758E66CF11A6D900AA0062CE6C"_L1)
                .replace(u'P', "A1DCAB8C47A9CF118EE400C00C205365"_L1);
            for (const auto& zeros : {u"8"_s, u"14"_s, u"16"_s, u"24"_s, u"43"_s})
                hex.replace(u'~' + zeros, QString(zeros.toInt(), u'0').repeated(2));
            CountedFile file(mFolder.write(u"sparse"_s, QByteArray::fromHex(hex.toLatin1())));
            QVERIFY(file.resize(row[2].toLongLong() << 20) &&
                    file.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
            const MediaFacts facts = inspectMedia(file);
            QCOMPARE(row[0] + u' ' + QString::number(int(!facts.damage.isEmpty())), row[0] + u' ' + row[3]);
            QVERIFY(facts.kind == MediaKind::Video && file.count < 100'000);
        }
    }

    // What is lost from the one to the other.
    void imageLossesAreSeen()
    {
        mFolder.write(u"converted.png"_s,
                      bytes(u"a.png"_s).insert(33, pngChunk("sRGB", QByteArray(1, '\0'))));
        mFolder.write(
            u"upside.jpg"_s,
            bytes(u"photo.jpg"_s).replace(QByteArray("\1\0\0\0\6", 5), QByteArray("\1\0\0\0\3", 5)));
        QVERIFY(ffmpeg(u"-i photo.jpg -c:v libwebp turned.webp"_s));
        const char* const kRows = R"(
            photo.jpg     |a.png          |icc-profile orientation
            photo.jpg     |turned.webp    |icc-profile
            photo.jpg     |photo.jpg      |
            photo.jpg     |converted.png  |orientation
            upside.jpg    |a.webp         |icc-profile
            upside.jpg    |a.jpg          |icc-profile orientation
            alpha.png     |plain.jpg      |alpha
            alpha.png     |la.webp        |
            grey.png      |alpha.png      |
            deepalpha.png |alpha.png      |bit-depth
            deep.tiff     |deep.png       |
            moves.gif     |lossyalpha.webp|animation
            moves.png     |moves.gif      |
            a.gif         |a.png          |)";
        for (const QStringList& row : rowsOf(kRows))
            QCOMPARE(row[0] + u' ' + idsOf(imageLosses(inspect(row[0]), inspect(row[1]))),
                     row[0] + u' ' + row[2]);
    }

    void notMediaIsRefusedAtOnce()
    {
        CountedFile zeros(mFolder.write(u"zeros.vob"_s, {}));
        QVERIFY(zeros.resize(qint64(3) << 30) && zeros.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
        QCOMPARE(inspectMedia(zeros).kind, MediaKind::Unknown);
        QVERIFY(zeros.count < 200'000);
        mFolder.write(u"text.jpg"_s, "A story, not an image.");
        QCOMPARE(inspect(u"text.jpg"_s).kind, MediaKind::Unknown);
        if (QProcess::execute(u"mkfifo"_s, {path(u"pipe.png"_s)}) == 0)
            QCOMPARE(inspect(u"pipe.png"_s).kind, MediaKind::Unknown);
        QVERIFY(!probe(u"zeros.vob"_s).error.isEmpty());
        QCOMPARE(suggestSuffix(u"JPGG"_s, {u"jpg"_s, u"jpeg"_s, u"png"_s}), u"jpg"_s);
        QCOMPARE(suggestSuffix(u"mpeg"_s, {u"jpg"_s, u"jpeg"_s, u"png"_s}), QString());
    }

    // Pixels and sources stay as they are, and so does the result when there is nothing to read.
    void metadataSurvives()
    {
        if (!VXC_HAS_METADATA)
            QSKIP("built without exiv2");
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

    // The fault, seconds of source and result, "?" for an estimate, seconds of their images, the verdict's
    // kind.
    void lengthsAreCompared()
    {
        const char* const kRows = R"(
            half a second             |10 |9.5   |  |10  9.5   |0
            more than half a second   |10 |9.499 |  |10  9.499 |2
            a percent                 |100|99    |  |100 99    |0
            more than a percent       |100|98.999|  |100 98.999|2
            longer by half a second   |10 |10.5  |  |0   0     |0
            longer                    |10 |10.501|  |0   0     |1
            longer than the estimate  |10 |20    |? |0   0     |0
            shorter than the estimate |10 |5     |? |0   0     |1
            the sound alone           |10 |5     |  |5   5     |1
            the sound and some images |10 |5     |  |6   5     |2
            nothing of it             |10 |0     |  |10  0     |2
            nothing of an estimate    |10 |0     |? |10  0     |0
            no length to compare      |0  |5     |  |0   5     |0)";
        for (const QStringList& row : rowsOf(kRows)) {
            const QStringList images = row[4].split(u' ', Qt::SkipEmptyParts);
            const auto factsOf = [](const QString& length, const QString& image) {
                VideoFacts facts;
                facts.lengthMs = qRound64(length.toDouble() * 1000);
                StreamFacts stream;
                stream.type = StreamFacts::Video;
                stream.endMs = qRound64(image.toDouble() * 1000);
                facts.streams.append(stream);
                return facts;
            };
            VideoFacts source = factsOf(row[1], images[0]);
            source.isLengthStated = row[3] != u'?';
            const LengthVerdict verdict = lengthVerdict(source, factsOf(row[2], images[1]));
            QCOMPARE(row[0] + u' ' + QString::number(verdict.kind), row[0] + u' ' + row[5]);
        }
    }

    // The video, what is taken of it, the LengthVerdict, the losses.
    void videosAreCompared()
    {
        const QString generated =
            u"-f lavfi -i testsrc2=s=64x48:d=1%1 -f lavfi -i anullsrc=cl=5.1,atrim=end=1 -c:a flac "_s;
        QVERIFY(ffmpeg(generated.arg(u",format=yuva444p10le"_s) +
                       u"-c:v ffv1 -color_trc smpte2084 media/pq.mkv"_s));
        QVERIFY(ffmpeg(generated.arg(u",format=yuv420p"_s) +
                       u"-c:v ffv1 -color_trc arib-std-b67 media/hlg.mkv"_s));
        const char* const kRows = R"(
            subs-mixed.mkv           |-t 99           |0|audio-tracks subtitles
            truncated-moov-first.mp4 |-t 99           |2|
            vob.vob                  |-t 2            |1|audio-tracks
            vob-chain.vob            |-t 99           |1|audio-tracks
            cover-after.mp4          |-t 3            |2|cover
            live.mkv                 |-t 99           |0|
            pq.mkv                   |-pix_fmt yuv420p -color_trc bt709 -ac 2|0|hdr bit-depth alpha audio-channels
            pq.mkv                   |-c copy -f matroska|0|
            hlg.mkv                  |-color_trc bt709 -ac 6|0|hdr)";
        for (const QStringList& row : rowsOf(kRows)) {
            QVERIFY2(
                ffmpeg(u"-i media/%1 -map 0:v:0 -map 0:a:0 -c:v mpeg4 %2 video.mp4"_s.arg(row[0], row[1])),
                qPrintable(row[0]));
            const VideoFacts before = probe(u"media/"_s + row[0]);
            const VideoFacts after = probe(u"video.mp4"_s);
            QVERIFY2(lengthVerdict(before, after).kind == row[2].toInt(), qPrintable(row[0]));
            QCOMPARE(row[0] + u' ' + idsOf(videoLosses(before, after)), row[0] + u' ' + row[3]);
        }
    }

    void videoMetadataComesBack()
    {
        QVERIFY(ffmpeg(u"-i media/mp4-moov-last.mp4 -c copy -metadata creation_time=2018-05-06T07:08:09Z "
                       "-metadata com.camera.Make=Acme -movflags use_metadata_tags camera.mov"_s));
        QVERIFY(ffmpeg(u"-i camera.mov small.mp4"_s));
        const VideoFacts source = probe(u"camera.mov"_s);
        const VideoFacts result = probe(u"small.mp4"_s);
        const auto pass = [&](const VideoFacts& of, const QString& to) {
            return videoMetadataPass(source, of, path(u"camera.mov"_s), path(u"small.mp4"_s), path(to));
        };
        QVERIFY(pass(result, u"full.avi"_s).isEmpty());
        QVERIFY(run(ToolCall::ffmpeg(pass(result, u"full.MP4"_s))));
        QCOMPARE(probe(u"full.MP4"_s).tags.value(u"com.camera.Make"_s), u"Acme"_s);
        QVERIFY(pass(probe(u"full.MP4"_s), u"again.mp4"_s).isEmpty());
        QCOMPARE(lengthVerdict(source, probe(u"full.MP4"_s)).kind, LengthVerdict::Whole);
    }
};

QTEST_GUILESS_MAIN(MediaTest)
#include "media_test.moc"
