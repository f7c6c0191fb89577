#include <QJsonArray>

#include <array>
#include <cmath>
#include <limits>

#include "demux/MediaDescription.h"
#include "demux/Saturate.h"
#include "demux/StillVideo.h"
#include "hostlibs/AvBridge.h"
#include "tests/demux/DemuxSupport.h"

using namespace Vantor;

namespace {

QSharedPointer<MediaDescription> describe(const QString& name)
{
    FFDemuxer demuxer;
    return demuxer.open(mediaPath(name)) ? describeMedia(demuxer) : nullptr;
}

// ffprobe's texts.
QString text(const QJsonObject& object, const char* key)
{
    return object.value(QLatin1String(key)).toVariant().toString();
}

qint64 number(const QJsonObject& object, const char* key)
{
    return object.value(QLatin1String(key)).toVariant().toLongLong();
}

QString ratio(AVRational rational, QChar separator)
{
    return QString::number(rational.num) + separator + QString::number(rational.den);
}

// A missing duration is negative here and not there at ffprobe.
void compareDuration(qint64 ms, const QJsonObject& stream)
{
    if (stream.contains(QLatin1String("duration")))
        QVERIFY(std::abs(static_cast<double>(ms) - text(stream, "duration").toDouble() * 1000) <= 1);
    else
        QVERIFY(ms < 0);
}

int rotation(const QJsonObject& stream)
{
    for (const QJsonValue data : stream.value(QLatin1String("side_data_list")).toArray()) {
        // ffprobe turns the other way round; of all zeros it makes the lowest of numbers.
        const qint64 degrees = number(data.toObject(), "rotation");
        if (data.toObject().contains(QLatin1String("rotation")))
            return degrees < -360 ? 0 : static_cast<int>((360 - degrees) % 360);
    }
    return 0;
}

void compareVideo(const VideoStreamDescription& video, const QJsonObject& stream)
{
    QCOMPARE(video.mediaType, AVMEDIA_TYPE_UNKNOWN);
    QCOMPARE(video.width, number(stream, "width"));
    QCOMPARE(video.height, number(stream, "height"));
    QCOMPARE(QString::fromLatin1(av_get_pix_fmt_name(static_cast<AVPixelFormat>(video.pixelFormat))),
             text(stream, "pix_fmt"));
    const QString aspect = text(stream, "sample_aspect_ratio");
    QCOMPARE(ratio(video.sampleAspectRatio, u':'), aspect.isEmpty() ? QStringLiteral("0:1") : aspect);
    QCOMPARE(video.rotation, rotation(stream));
    const QStringList rates{text(stream, "r_frame_rate"), text(stream, "avg_frame_rate"),
                            QStringLiteral("25/1")};
    QVERIFY2(rates.contains(ratio(video.frameRate, u'/')), qPrintable(ratio(video.frameRate, u'/')));
}

void compareAudio(const AudioStreamDescription& audio, const QJsonObject& stream)
{
    QCOMPARE(audio.mediaType, AVMEDIA_TYPE_UNKNOWN);
    QCOMPARE(audio.sampleRate, number(stream, "sample_rate"));
    QCOMPARE(audio.channels, number(stream, "channels"));
    QCOMPARE(QString::fromLatin1(av_get_sample_fmt_name(static_cast<AVSampleFormat>(audio.sampleFormat))),
             text(stream, "sample_fmt"));
    AVChannelLayout layout{};
    const QByteArray name = text(stream, "channel_layout").toLatin1();
    const bool isNamed = av_channel_layout_from_string(&layout, name.constData()) == 0;
    QCOMPARE(audio.channelLayout, isNamed ? layout.u.mask : 0U);
}

// What video and audio have in common.
template <typename Description>
void compareCoded(const Description& description, const QJsonObject& stream)
{
    QCOMPARE(QString::fromLatin1(avcodec_get_name(static_cast<AVCodecID>(description.codecId))),
             text(stream, "codec_name"));
    QCOMPARE(description.codecTag, text(stream, "codec_tag").toUInt(nullptr, 16));
    QCOMPARE(description.bitRate, number(stream, "bit_rate"));
    QCOMPARE(ratio(description.timeBase, u'/'), text(stream, "time_base"));
    compareDuration(description.durationMs, stream);
}

} // namespace

class DemuxDescriptionTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { mCapture = std::make_unique<RecordCapture>(); }
    void cleanup() { mCapture.reset(); }
    void agreesWithFFprobe_data();
    void agreesWithFFprobe();
    void stillPictures_data();
    void stillPictures();
    void frameRate_data();
    void frameRate();
    void rotates_data();
    void rotates();
    void unusualValues();
    void saturates();

private: // NOLINT(readability-redundant-access-specifiers): what follows are no slots
    std::unique_ptr<RecordCapture> mCapture;
};

void DemuxDescriptionTest::agreesWithFFprobe_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("arguments"); // that make ffprobe read it in the same way
    const QDir folder = QFileInfo(mediaPath(QStringLiteral("mp4-moov-last.mp4"))).dir();
    // The last can be read, but ffprobe gives up on what it cannot decode.
    const QStringList left{QStringLiteral("truncated.mp4"), QStringLiteral("garbage.mp4"),
                           QStringLiteral("empty.mp4"), QStringLiteral("mp4-named.ts"),
                           QStringLiteral("wmv3-tag.asf")};
    for (const QString& name : folder.entryList(QDir::Files)) {
        QStringList arguments;
        if (name == QLatin1String("flv.flv"))
            arguments = QStringList{QStringLiteral("-f"), QStringLiteral("live_flv")};
        else if (name.startsWith(QLatin1String("ts")))
            arguments = QStringList{QStringLiteral("-scan_all_pmts"), QStringLiteral("0")};
        if (!left.contains(name))
            QTest::newRow(qPrintable(name)) << name << arguments;
    }
}

void DemuxDescriptionTest::agreesWithFFprobe()
{
    QFETCH(const QString, name);
    QFETCH(QStringList, arguments);
    const auto media = describe(name);
    QVERIFY(media);
    arguments << QStringLiteral("-show_streams") << QStringLiteral("-show_format");
    const QJsonObject probe = ffprobe(mediaPath(name), arguments);

    const QJsonObject container = probe.value(QLatin1String("format")).toObject();
    QCOMPARE(media->formatLongName, text(container, "format_long_name"));
    QCOMPARE(media->bitRate, number(container, "bit_rate"));
    const auto milliseconds = [&container](const char* key) {
        return static_cast<qint64>(std::llround(text(container, key).toDouble() * 1e6));
    };
    if (container.contains(QLatin1String("duration")))
        QCOMPARE(media->durationMs, (milliseconds("duration") + 5000) / 1000);
    else
        QVERIFY(media->durationMs < 0);
    if (container.contains(QLatin1String("start_time")))
        QCOMPARE(media->startTimeMs, milliseconds("start_time") / 1000);

    const QJsonArray streams = probe.value(QLatin1String("streams")).toArray();
    QCOMPARE(media->streams.size(), streams.size());
    auto video = media->videoStreams.cbegin();
    auto audio = media->audioStreams.cbegin();
    auto subtitle = media->subtitleStreams.cbegin();
    for (int i = 0; i < streams.size(); ++i) {
        const QJsonObject stream = streams.at(i).toObject();
        QCOMPARE(media->streams.at(i)->index, i);
        QCOMPARE(ratio(media->streams.at(i)->timeBase, u'/'), text(stream, "time_base"));
        const QString type = text(stream, "codec_type");
        if (type == QLatin1String("video")) {
            QVERIFY(video != media->videoStreams.cend());
            QCOMPARE((*video)->index, i);
            compareCoded(**video, stream);
            compareVideo(**video++, stream);
        } else if (type == QLatin1String("audio")) {
            QVERIFY(audio != media->audioStreams.cend());
            QCOMPARE((*audio)->index, i);
            compareCoded(**audio, stream);
            compareAudio(**audio++, stream);
        } else if (type == QLatin1String("subtitle")) {
            QVERIFY(subtitle != media->subtitleStreams.cend());
            QCOMPARE((*subtitle)->index, i);
            QCOMPARE((*subtitle++)->isTextSubtitle, text(stream, "codec_name") == QLatin1String("subrip"));
        }
        if (QTest::currentTestFailed())
            return;
    }
    QVERIFY(video == media->videoStreams.cend());
    QVERIFY(audio == media->audioStreams.cend());
    QVERIFY(subtitle == media->subtitleStreams.cend());
}

void DemuxDescriptionTest::stillPictures_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QList<bool>>("pictures"); // of each video stream
    QTest::newRow("cover before the film") << "cover-before.mp4" << QList<bool>{true, false};
    QTest::newRow("cover after the film") << "cover-after.mp4" << QList<bool>{false, true};
    QTest::newRow("cover of a song") << "cover.mp3" << QList<bool>{true};
    QTest::newRow("one packet") << "wmv-1.wmv" << QList<bool>{true};
    QTest::newRow("two packets") << "wmv-2.wmv" << QList<bool>{true};
    QTest::newRow("three packets") << "wmv-3.wmv" << QList<bool>{true};
    QTest::newRow("many packets") << "wmv-many.wmv" << QList<bool>{false};
    QTest::newRow("film") << "mp4-moov-last.mp4" << QList<bool>{false};
}

void DemuxDescriptionTest::stillPictures()
{
    QFETCH(const QString, name);
    QFETCH(const QList<bool>, pictures);
    FFDemuxer demuxer;
    QVERIFY(demuxer.open(mediaPath(name)));
    const auto firstPacket = demuxer.readPacket();
    QVERIFY(firstPacket);
    mCapture->take();

    const auto media = describeMedia(demuxer);
    QList<bool> found;
    for (const auto& video : media->videoStreams)
        found.append(video->isAttachedPicture);
    QCOMPARE(found, pictures);
    // Each open writes a record; one that the format makes needless isn't made.
    QCOMPARE(mCapture->take().size(), name.endsWith(QLatin1String(".wmv")) ? 1 : 0);

    FFDemuxer untouched;
    QVERIFY(untouched.open(mediaPath(name)));
    untouched.readPacket();
    const auto expected = untouched.readPacket();
    const auto packet = demuxer.readPacket();
    QCOMPARE(packet.isNull(), expected.isNull());
    if (packet)
        QCOMPARE(packet->pos, expected->pos);
    QVERIFY(!probeStillVideo(mediaPath(QStringLiteral("mp4-moov-last.mp4")), 0));
    QVERIFY(!probeStillVideo(mediaPath(QStringLiteral("garbage.mp4")), 0));
}

void DemuxDescriptionTest::frameRate_data()
{
    QTest::addColumn<AVRational>("base");
    QTest::addColumn<AVRational>("average");
    QTest::addColumn<AVRational>("expected");
    using R = AVRational;
    QTest::newRow("NTSC") << R{30000, 1001} << R{30000, 1001} << R{30000, 1001};
    QTest::newRow("120 still counts") << R{120, 1} << R{120, 1} << R{120, 1};
    QTest::newRow("base too high") << R{1000, 1} << R{24, 1} << R{24, 1};
    QTest::newRow("a clock's ticks") << R{90000, 1} << R{90000, 1} << R{25, 1};
    QTest::newRow("both too high but possible") << R{240, 1} << R{240, 1} << R{240, 1};
    QTest::newRow("unknown") << R{0, 0} << R{0, 0} << R{25, 1};
    QTest::newRow("no denominator") << R{0, 0} << R{24, 0} << R{24, 1};
    QTest::newRow("negative") << R{0, 0} << R{-24, 1} << R{25, 1};
    QTest::newRow("whole quotient") << R{1209, 10} << R{1209, 10} << R{1209, 10};
}

void DemuxDescriptionTest::frameRate()
{
    QFETCH(const AVRational, base);
    QFETCH(const AVRational, average);
    QFETCH(const AVRational, expected);
    FFDemuxer demuxer;
    // A codec that knows no rate of its own.
    QVERIFY(demuxer.open(mediaPath(QStringLiteral("avi.avi"))));
    demuxer.formatContext()->streams[0]->r_frame_rate = base;
    demuxer.formatContext()->streams[0]->avg_frame_rate = average;
    QCOMPARE(ratio(describeMedia(demuxer)->videoStreams.first()->frameRate, u'/'), ratio(expected, u'/'));
}

void DemuxDescriptionTest::rotates_data()
{
    QTest::addColumn<double>("matrix"); // degrees to the left; NaN: all zeros
    QTest::addColumn<int>("expected");
    QTest::newRow("none") << 0.0 << 0;
    QTest::newRow("right") << -90.0 << 90;
    QTest::newRow("left") << 90.0 << 270;
    QTest::newRow("upside down") << 180.0 << 180;
    QTest::newRow("nearly a full turn") << -359.5 << 0;
    QTest::newRow("not so nearly") << -358.5 << 358;
    QTest::newRow("truncated") << -45.7 << 45;
    QTest::newRow("no rotation at all") << std::numeric_limits<double>::quiet_NaN() << 0;
}

void DemuxDescriptionTest::rotates()
{
    QFETCH(const double, matrix);
    QFETCH(const int, expected);
    FFDemuxer demuxer;
    QVERIFY(demuxer.open(mediaPath(QStringLiteral("rotate-90.mp4"))));
    auto* numbers = const_cast<qint32*>(displayMatrix(*demuxer.formatContext()->streams[0]));
    QVERIFY(numbers);
    if (std::isnan(matrix))
        std::fill_n(numbers, 9, 0);
    else
        av_display_rotation_set(numbers, -matrix); // which wants degrees to the right
    QCOMPARE(describeMedia(demuxer)->videoStreams.first()->rotation, expected);
}

void DemuxDescriptionTest::unusualValues()
{
    FFDemuxer demuxer;
    QVERIFY(!describeMedia(demuxer));
    QVERIFY(demuxer.open(mediaPath(QStringLiteral("mp4-moov-last.mp4"))));
    AVFormatContext* context = demuxer.formatContext().data();
    AVStream* film = context->streams[0];
    const auto durationMs = [&](qint64 microseconds) {
        context->duration = microseconds;
        return describeMedia(demuxer)->durationMs;
    };
    QCOMPARE(durationMs(10'000'000), 10005);
    QCOMPARE(durationMs(1'234'567), 1239);
    QVERIFY(durationMs(AV_NOPTS_VALUE) < 0);
    QCOMPARE(durationMs(std::numeric_limits<qint64>::max()), std::numeric_limits<qint64>::max() / 1000);

    const auto streamMs = [&](qint64 duration, AVRational timeBase) {
        film->duration = duration;
        film->time_base = timeBase;
        return describeMedia(demuxer)->videoStreams.first()->durationMs;
    };
    QCOMPARE(streamMs(1999, {1, 1000}), 1999);
    QCOMPARE(streamMs(1999, {1, 0}), 0);
    QVERIFY(streamMs(AV_NOPTS_VALUE, {1, 90000}) < 0);
    QCOMPARE(streamMs(AV_NOPTS_VALUE, {1, 1}), std::numeric_limits<qint64>::min());
    QCOMPARE(streamMs(std::numeric_limits<qint64>::max(), {1, 1}), std::numeric_limits<qint64>::max());

    const auto aspect = [&](AVRational stream, AVRational codec) {
        film->sample_aspect_ratio = stream;
        film->codecpar->sample_aspect_ratio = codec;
        return ratio(describeMedia(demuxer)->videoStreams.first()->sampleAspectRatio, u':');
    };
    QCOMPARE(aspect({4, 3}, {1, 1}), QStringLiteral("4:3"));
    QCOMPARE(aspect({0, 1}, {16, 11}), QStringLiteral("16:11"));

    AVChannelLayout& layout = context->streams[1]->codecpar->ch_layout;
    layout.order = AV_CHANNEL_ORDER_UNSPEC;
    QCOMPARE(describeMedia(demuxer)->audioStreams.first()->channelLayout, 0U);
    QCOMPARE(describeMedia(demuxer)->audioStreams.first()->channels, 1);

    film->codecpar->codec_type = AVMEDIA_TYPE_DATA;
    const auto media = describeMedia(demuxer);
    QVERIFY(media->videoStreams.isEmpty());
    QCOMPARE(media->streams.first()->mediaType, AVMEDIA_TYPE_DATA);
}

void DemuxDescriptionTest::saturates()
{
    using Wide = std::numeric_limits<qint64>;
    using Narrow = std::numeric_limits<qint32>;
    QCOMPARE(saturate<qint32>(-1.9), -1);
    QCOMPARE(saturate<qint32>(2147483647.5), Narrow::max());
    QCOMPARE(saturate<qint32>(-2147483648.5), Narrow::min());
    QCOMPARE(saturate<qint32>(std::numeric_limits<double>::quiet_NaN()), 0);
    QCOMPARE(saturate<qint64>(9223372036854775807.0), Wide::max());
    QCOMPARE(saturate<qint64>(std::numeric_limits<double>::infinity()), Wide::max());
    QCOMPARE(saturate<qint64>(-std::numeric_limits<double>::infinity()), Wide::min());
}

QTEST_GUILESS_MAIN(DemuxDescriptionTest)
#include "demux_description_test.moc"
