#include <limits>

#include "demux/MediaDescription.h"
#include "demux/Saturate.h"
#include "demux/StillVideo.h"
#include "tests/demux/DemuxSupport.h"

using namespace Vantor;
using namespace Qt::StringLiterals;

namespace {

constexpr auto kLongest = std::numeric_limits<qint64>::max();

QString ratio(AVRational rational, QChar separator)
{
    return QString::number(rational.num) + separator + QString::number(rational.den);
}

} // namespace

class DemuxDescriptionTest : public QObject
{
    Q_OBJECT

    RecordCapture mCapture;

private slots:
    void keepsItsPlace();
    void frameRate();
    void rotation();
    void unusualValues();
};

void DemuxDescriptionTest::keepsItsPlace()
{
    for (const QString& path : {mediaPath("cover-before.mp4"), mediaPath("wmv-3.wmv")}) {
        FFDemuxer demuxer;
        FFDemuxer untouched;
        QVERIFY(demuxer.open(path) && demuxer.readPacket());
        QVERIFY(untouched.open(path) && untouched.readPacket());
        mCapture.take();
        const auto media = describeMedia(demuxer);
        QVERIFY(media->videoStreams.first()->isAttachedPicture);
        // Each open writes a record; one that the format makes needless isn't made.
        QCOMPARE(mCapture.take().size(), path.endsWith(".wmv"_L1) ? 1 : 0);
        QCOMPARE(readAll(demuxer), readAll(untouched));
    }
    QVERIFY(!probeStillVideo(mediaPath("cover.mp3"), 0));
    QVERIFY(!probeStillVideo(mediaPath("garbage.mp4"), 0));
}

void DemuxDescriptionTest::frameRate()
{
    struct Case
    {
        const char* fault;
        AVRational base, average, expected;
    };
    FFDemuxer demuxer;
    // A codec that knows no rate of its own.
    QVERIFY(demuxer.open(mediaPath("avi.avi")));
    AVStream* film = demuxer.formatContext()->streams[0];
    for (const Case& rate : {Case{"120 still counts", {120, 1}, {120, 1}, {120, 1}},
                             {"base too high", {1000, 1}, {24, 1}, {24, 1}},
                             {"a clock's ticks", {90000, 1}, {90000, 1}, {25, 1}},
                             {"both too high but possible", {240, 1}, {240, 1}, {240, 1}},
                             {"unknown", {0, 0}, {0, 0}, {25, 1}},
                             {"no denominator", {0, 0}, {24, 0}, {24, 1}},
                             {"negative", {0, 0}, {-24, 1}, {25, 1}},
                             {"whole quotient", {1209, 10}, {1209, 10}, {1209, 10}}}) {
        film->r_frame_rate = rate.base;
        film->avg_frame_rate = rate.average;
        const AVRational found = describeMedia(demuxer)->videoStreams.first()->frameRate;
        QVERIFY2(found.num == rate.expected.num && found.den == rate.expected.den, rate.fault);
    }
}

void DemuxDescriptionTest::rotation()
{
    FFDemuxer demuxer;
    QVERIFY(demuxer.open(mediaPath("rotate-90.mp4")));
    auto* matrix = const_cast<qint32*>(displayMatrix(*demuxer.formatContext()->streams[0]));
    QVERIFY(matrix);
    // Degrees to the left and found: nearly a full turn, not so nearly, truncated.
    for (const auto& [left, expected] : {std::pair(-359.5, 0), {-358.5, 358}, {-45.7, 45}, {90.0, 270}}) {
        av_display_rotation_set(matrix, -left); // which wants degrees to the right
        QCOMPARE(describeMedia(demuxer)->videoStreams.first()->rotation, expected);
    }
}

void DemuxDescriptionTest::unusualValues()
{
    FFDemuxer demuxer;
    QVERIFY(!describeMedia(demuxer));
    QVERIFY(demuxer.open(mediaPath("mp4-moov-last.mp4")));
    AVFormatContext* context = demuxer.formatContext().data();
    AVStream* film = context->streams[0];
    context->duration = kLongest;
    QCOMPARE(describeMedia(demuxer)->durationMs, kLongest / 1000);

    const auto streamMs = [&](qint64 duration, AVRational timeBase) {
        film->duration = duration;
        film->time_base = timeBase;
        return describeMedia(demuxer)->videoStreams.first()->durationMs;
    };
    QCOMPARE(streamMs(1999, {1, 0}), 0);
    QCOMPARE(streamMs(AV_NOPTS_VALUE, {1, 1}), std::numeric_limits<qint64>::min());
    QCOMPARE(streamMs(kLongest, {1, 1}), kLongest);

    QCOMPARE(saturate<qint32>(2147483647.5), std::numeric_limits<qint32>::max());
    QCOMPARE(saturate<qint32>(std::numeric_limits<double>::quiet_NaN()), 0);

    const auto aspect = [&](AVRational stream, AVRational codec) {
        film->sample_aspect_ratio = stream;
        film->codecpar->sample_aspect_ratio = codec;
        return ratio(describeMedia(demuxer)->videoStreams.first()->sampleAspectRatio, u':');
    };
    QCOMPARE(aspect({4, 3}, {1, 1}), u"4:3"_s);
    QCOMPARE(aspect({0, 1}, {16, 11}), u"16:11"_s);

    context->streams[1]->codecpar->ch_layout.order = AV_CHANNEL_ORDER_UNSPEC;
    film->codecpar->codec_type = AVMEDIA_TYPE_DATA;
    const auto media = describeMedia(demuxer);
    QCOMPARE(media->audioStreams.first()->channelLayout, 0U);
    QVERIFY(media->videoStreams.isEmpty());
    QCOMPARE(media->streams.first()->mediaType, AVMEDIA_TYPE_DATA);
}

QTEST_GUILESS_MAIN(DemuxDescriptionTest)
#include "demux_description_test.moc"
