// Real files and resources: which open, what they say of themselves, their packets.
#include <QFileInfo>
#include <QLoggingCategory>
#include <QResource>

#include <limits>

#include "demux/DemuxerFactory.h"
#include "demux/FFVobDemuxer.h"
#include "demux/MediaDescription.h"
#include "hostlibs/VantorBase.h"
#include "hostlibs/VxMediaInfo.h"
#include "tests/support/Rows.h"
#include "tests/support/TestFolder.h"

using namespace Vantor;
using namespace Qt::StringLiterals;

namespace {

constexpr auto kLongest = std::numeric_limits<qint64>::max();

// A source, the name that it gets, and the format that it is opened as; none when it doesn't open.
const char kOpens[] = R"(
suffix in capitals is not known   | ts.ts             | clip.TS   | mpegts
flv is probed                     | flv.flv           | clip.flv  | live_flv
a pattern in a name counts        | mp4-moov-last.mp4 | a%03d.mp4 | mov,mp4,m4a,3gp,3g2,mj2
a forced format without streams   | mp4-moov-last.mp4 | a.ts      |
a fallback format without streams | garbage.mp4       | a.VOB     |
no index                          | truncated.mp4     | a.mp4     |
empty                             | empty.mp4         | a.mp4     |
missing                           |                   | a.ts      |
folder                            | tmp               | tmp       |
)";

// A source's duration, and the bitrate of each sound.
const char kInfo[] = R"(
two sounds count once                                 | vob.vob        | 6016 | 224000 224000
Matroska's statistics are not asked, or nobody says   | two-audio.mkv  | 4021 | 96123 0
no sound                                              | video-only.mp4 | 4000 |
a container that says no duration                     | live.mkv       | 4021 | 0
packets without times                                 | raw.h264       | 4000 |
does not open                                         | garbage.mp4    | 0    |
)";

// A stream's base and average rate, and the rate that is found.
const char kRates[] = R"(
120 is too high                | 120/1   | 120/1   | 120/1
too high a base is taken       | 1000/1  | 24/1    | 24/1
a clock's ticks are a rate     | 90000/1 | 90000/1 | 25/1
too high but possible is lost  | 240/1   | 240/1   | 240/1
an unknown rate divides by 0   | 0/0     | 0/0     | 25/1
no denominator divides by 0    | 0/0     | 24/0    | 24/1
a negative rate stays          | 0/0     | -24/1   | 25/1
)";

AVRational rational(const QString& text)
{
    return {text.section(u'/', 0, 0).toInt(), text.section(u'/', 1).toInt()};
}

// The packets from where the demuxer stands to its end.
QStringList readAll(FFDemuxer& demuxer)
{
    QStringList packets;
    while (const auto packet = demuxer.readPacket()) {
        QString text;
        QDebug(&text) << packet->stream_index << packet->pts << packet->dts << packet->pos
                      << qHashBits(packet->data, static_cast<size_t>(packet->size));
        packets += text;
    }
    return packets;
}

} // namespace

class DemuxFilesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(QResource::registerResource(QLatin1String(VXC_RESOURCES))); }
    void cleanupTestCase() { QVERIFY(QResource::unregisterResource(QLatin1String(VXC_RESOURCES))); }

    void opens_data() { addRows(kOpens); }
    void opens()
    {
        const TestFolder folder;
        const QString path = folder.path(cells()[2]);
        const QString format = cells()[3];
        QFile::copy(media(cells()[1]), path);
        FFDemuxer demuxer;
        QCOMPARE(demuxer.open(path), !format.isEmpty());
        QCOMPARE(demuxer.filePath(), format.isEmpty() ? QString() : path);
        const auto context = demuxer.formatContext();
        QCOMPARE(QString::fromLatin1(context ? context->iformat->name : ""), format);
    }

    // A host's console stays clean of information until it is asked for, and of FFmpeg's chatter even then.
    void console()
    {
        static QStringList lines;
        const auto others =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& line) {
                if (!line.startsWith(u'[')) // FFmpeg's own
                    lines.append(line);
            });
        FFDemuxer().open(media("garbage.mp4"));
        const QStringList byDefault = std::exchange(lines, {});
        QLoggingCategory::setFilterRules(u"vantor.info=true"_s);
        FFDemuxer().open(media("empty.mp4"));
        FFDemuxer().seekByFilePos(0);
        FFDemuxer video;
        video.open(media("mp4-moov-first.mp4"));
        video.seek(1500, 2);
        video.seekByFilePos(1000); // which MP4 cannot do
        av_log(nullptr, AV_LOG_ERROR, "in pieces: ");
        av_log(nullptr, AV_LOG_ERROR | AV_LOG_C(128), "%d\n", 42);
        av_log(nullptr, AV_LOG_INFO, "chatter\n");
        QLoggingCategory::setFilterRules(QString());
        qInstallMessageHandler(others);
        QCOMPARE(byDefault, QStringList());
        const QString invalid = QString::number(AVERROR_INVALIDDATA);
        QCOMPARE(
            lines.join(u'\n'),
            u"maybe specific format, ret = %1\ntry add option, ret = %1\n"
            "---demux--- avformat_open_input: %1: %2\n---demux--- Could not open the file . fileSize :0%3\n"
            "maybe specific format, ret = 0\n---player--- seekByFilePos av_seek_frame: -1: %4\n"
            "in pieces: 42"_s.arg(invalid, errorText(AVERROR_INVALIDDATA), media("empty.mp4"),
                                  errorText(-1)));
        QVERIFY2(video.readPacket(), "a failed seek leaves the input readable");
    }

    void failureLeavesTheDemuxerUsable()
    {
        const QString good = u":/mp4-moov-last.mp4"_s;
        FFDemuxer demuxer;
        // Each twice: what is freed too often or never shows under the address sanitizer.
        for (const char* name : {"mp4-moov-last.mp4", "truncated.mp4", "empty.mp4", "garbage.mp4"}) {
            QVERIFY(demuxer.open(good));
            for (int i = 0; i < 2; ++i) {
                QCOMPARE(demuxer.open(u":/"_s + QLatin1String(name)), good.endsWith(QLatin1String(name)));
                QCOMPARE(!demuxer.formatContext(), !good.endsWith(QLatin1String(name)));
            }
            QCOMPARE(demuxer.filePath(), good);
        }
        QVERIFY(!demuxer.readPacket() && demuxer.durationMs() == 0);
        QVERIFY(demuxer.open(good) && !demuxer.open(u":/missing"_s) && !demuxer.open(QString()));
        QVERIFY2(demuxer.readPacket(), "what isn't there leaves the open one readable");
        const auto context = demuxer.formatContext();
        context->duration = 1999;
        QCOMPARE(demuxer.durationMs(), 1);
        context->duration = AV_NOPTS_VALUE;
        QCOMPARE(demuxer.durationMs(), 0);
        demuxer.close();
        QVERIFY(!demuxer.formatContext() && !demuxer.readPacket());
        AVPacket packet{};
        QVERIFY2(av_read_frame(context.data(), &packet) == 0, "a context outlives its demuxer");
        av_packet_unref(&packet);
    }

    void factory()
    {
        auto& settings = VantorBaseEntry()->settings();
        const QString key = u"kVob_DeMux_Enabled"_s;
        const auto isVob = [](const char* path, bool forced) {
            return dynamic_cast<FFVobDemuxer*>(createDemuxer(QLatin1String(path), forced).data()) != nullptr;
        };
        settings.clear();
        QVERIFY(!isVob("a.mp4", false) && isVob("a.VOB", true) && isVob("a.mp4", true));
        QVERIFY2(settings.isEmpty(), "only an unforced vob asks for the setting");
        QVERIFY(!isVob("a.VOB", false) && settings.contains(key) && !settings.value(key).isValid());
        settings.insert(key, true);
        QVERIFY(isVob("a.VOB", false) && !isVob("a.vob.mp4", false));
        settings.clear();
    }

    void info_data() { addRows(kInfo); }
    void info()
    {
        const auto info = getMediaInfo(media(cells()[1]), -1, true);
        const qint64 expectedMs = cells()[2].toInt();
        QVERIFY2(std::abs(info->duration - expectedMs) <= 20, qPrintable(QString::number(info->duration)));
        QCOMPARE(info->size, expectedMs > 0 ? QFileInfo(media(cells()[1])).size() : 0);
        QStringList bitrates;
        for (const auto& audio : std::as_const(info->audioStreams))
            bitrates.append(QString::number(audio->bitrate));
        QCOMPARE(bitrates.join(u' '), cells()[3]);
    }

    // Values that files should not have, put into streams that are open.
    void frameRates_data() { addRows(kRates); }
    void frameRates()
    {
        FFDemuxer demuxer;
        QVERIFY(demuxer.open(media("avi.avi"))); // a codec that knows no rate of its own
        AVStream* video = demuxer.formatContext()->streams[0];
        video->r_frame_rate = rational(cells()[1]);
        video->avg_frame_rate = rational(cells()[2]);
        const AVRational found = describeMedia(demuxer)->videoStreams.first()->frameRate;
        QCOMPARE(u"%1/%2"_s.arg(found.num).arg(found.den), cells()[3]);
    }

    void rotations()
    {
        FFDemuxer demuxer;
        QVERIFY(demuxer.open(media("rotate-90.mp4")));
        auto* matrix = const_cast<qint32*>(displayMatrix(*demuxer.formatContext()->streams[0]));
        // Degrees to the left and found: nearly a full turn, not so nearly, truncated.
        for (const auto& [left, expected] : {std::pair(-359.5, 0), {-358.5, 358}, {-45.7, 45}, {90.0, 270}}) {
            av_display_rotation_set(matrix, -left); // which wants degrees to the right
            QCOMPARE(describeMedia(demuxer)->videoStreams.first()->rotation, expected);
        }
    }

    void describesTheUnusual()
    {
        FFDemuxer demuxer;
        QVERIFY(!describeMedia(demuxer));
        QVERIFY(demuxer.open(media("mp4-moov-last.mp4")));
        const auto context = demuxer.formatContext();
        AVStream* video = context->streams[0];
        // The stream's and the codec's aspect ratio; a length and its unit.
        for (const auto& [aspect, codecs, length, unit, expectedNum, expectedMs] :
             {std::tuple(AVRational{4, 3}, AVRational{1, 1}, qint64(1999), AVRational{1, 0}, 4, qint64(0)),
              {{0, 1}, {16, 11}, AV_NOPTS_VALUE, {1, 1}, 16, std::numeric_limits<qint64>::min()},
              {{0, 1}, {16, 11}, kLongest, {1, 1}, 16, kLongest}}) {
            video->sample_aspect_ratio = aspect;
            video->codecpar->sample_aspect_ratio = codecs;
            video->duration = length;
            video->time_base = unit;
            const auto found = describeMedia(demuxer)->videoStreams.first();
            QCOMPARE(found->sampleAspectRatio.num, expectedNum);
            QCOMPARE(found->durationMs, expectedMs);
        }
        context->duration = kLongest;
        context->streams[1]->codecpar->ch_layout.order = AV_CHANNEL_ORDER_UNSPEC;
        video->codecpar->codec_type = AVMEDIA_TYPE_DATA;
        const auto media = describeMedia(demuxer);
        QCOMPARE(media->durationMs, kLongest / 1000);
        QCOMPARE(media->audioStreams.first()->channelLayout, 0U);
        QVERIFY(media->videoStreams.isEmpty() && media->streams.first()->mediaType == AVMEDIA_TYPE_DATA);
    }

    // Which is no failure: a list of tags, and a movie without a track.
    void withoutStreams()
    {
        const TestFolder folder;
        const QByteArray head(
            "\0\0\0\x10"
            "ftypisom\0\0\2\0\0\0\0\x74moov\0\0\0\x6cmvhd\0\0\0\0\0\0\0\0\0\0\0\0\0\0\3\xe8",
            48);
        for (const QByteArray& content :
             {QByteArray(";FFMETADATA1\ntitle=a\n"), head + QByteArray(84, '\0')}) {
            FFDemuxer demuxer;
            QVERIFY(demuxer.open(folder.write(u"a"_s, content)));
            const auto found = describeMedia(demuxer);
            QVERIFY(found->streams.isEmpty() && found->videoStreams.isEmpty());
            QVERIFY(found->audioStreams.isEmpty() && found->subtitleStreams.isEmpty());
            QVERIFY(!demuxer.readPacket());
        }
    }

    void samePackets_data()
    {
        QTest::addColumn<QString>("name");
        for (const QString& name : QDir(u":/"_s).entryList({u"*-*.*"_s, u"avi.*"_s, u"raw.*"_s}))
            QTest::newRow(qUtf8Printable(name)) << name;
    }
    // From a file that is described meanwhile and from a resource.
    void samePackets()
    {
        QFETCH(const QString, name);
        FFDemuxer file;
        FFDemuxer resource;
        QVERIFY(file.open(media(name)) && resource.open(u":/"_s + name));
        QVERIFY(file.readPacket() && resource.readPacket());
        const bool isImage = name.startsWith(u"cover") || name.startsWith(u"wmv");
        QCOMPARE(describeMedia(file)->videoStreams.first()->isAttachedPicture, isImage);
        const QStringList packets = readAll(file);
        QVERIFY(packets.size() > 1 && readAll(resource) == packets);
        QVERIFY2(!file.readPacket() && !resource.readPacket(), "the end stays the end");
        file.seek(0, 0);
        resource.seek(0, 0);
        QVERIFY(readAll(resource) == readAll(file));
    }

    void seeks()
    {
        FFDemuxer demuxer;
        demuxer.seek(0, 0);
        demuxer.seekByFilePos(0);
        QVERIFY(demuxer.open(media("ts.ts")));
        const QStringList packets = readAll(demuxer);
        demuxer.seekByFilePos(200'000);
        const auto first = demuxer.readPacket();
        QVERIFY(first && (first->pos < 0 || first->pos >= 199'000));
        QCOMPARE(readAll(demuxer).last(), packets.last());

        // Each packet of a sound is an entry.
        QVERIFY(demuxer.open(media("sound-only.m4a")));
        for (const auto& [ms, expected] : {std::pair(1500, 1485), {-5, 0}, {700, 685}}) {
            demuxer.seek(ms, 0);
            const AVRational base = demuxer.formatContext()->streams[0]->time_base;
            const qint64 at = av_rescale_q(demuxer.readPacket()->pts, base, kMilliseconds);
            QVERIFY2(std::abs(at - expected) <= 15, qPrintable(QString::number(at)));
        }
        demuxer.seek(1500, 0);
        const QStringList rest = readAll(demuxer);
        demuxer.seek(1500, 0);
        demuxer.seek(0, -1); // there is none
        demuxer.seek(0, 1);
        QCOMPARE(readAll(demuxer), rest);
    }
};

QTEST_GUILESS_MAIN(DemuxFilesTest)
#include "demux_files_test.moc"
