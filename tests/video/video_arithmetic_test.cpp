// Picture sizes and bitrates: whole numbers in, whole numbers out, no process and no file.
#include <QTest>

#include "demux/MediaDescription.h"
#include "hostlibs/VxMediaInfo.h"
#include "video/PictureSize.h"
#include "video/TargetBitrate.h"

Q_DECLARE_METATYPE(AVRational)

class VideoArithmeticTest : public QObject
{
    Q_OBJECT

private slots:
    void roundsToMultiples_data();
    void roundsToMultiples();
    void findsTheDisplaySize_data();
    void findsTheDisplaySize();
    void scales_data();
    void scales();
    void aimsAtASize_data();
    void aimsAtASize();
};

void VideoArithmeticTest::roundsToMultiples_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("nearest");
    QTest::newRow("tie goes up from 2") << 2 << 4;
    QTest::newRow("tie goes up from 6") << 6 << 8;
    QTest::newRow("tie goes up from 270") << 270 << 272;
    QTest::newRow("down") << 5 << 4;
    QTest::newRow("up") << 7 << 8;
    QTest::newRow("a tie below zero goes down") << -6 << -8;
    QTest::newRow("below zero") << -5 << -4;
}

void VideoArithmeticTest::roundsToMultiples()
{
    QFETCH(const int, value);
    QTEST(roundToMultiple(value, 4), "nearest");
}

void VideoArithmeticTest::findsTheDisplaySize_data()
{
    QTest::addColumn<QSize>("coded");
    QTest::addColumn<AVRational>("ratio");
    QTest::addColumn<int>("rotation");
    QTest::addColumn<QSize>("display");
    const AVRational square{1, 1};
    QTest::newRow("plain") << QSize(1920, 1080) << square << 0 << QSize(1920, 1080);
    QTest::newRow("odd sides grow") << QSize(481, 719) << square << 0 << QSize(482, 720);
    QTest::newRow("on its side") << QSize(1920, 1080) << square << 90 << QSize(1080, 1920);
    QTest::newRow("on its other side") << QSize(1920, 1080) << square << 270 << QSize(1080, 1920);
    QTest::newRow("on its head") << QSize(1920, 1080) << square << 180 << QSize(1920, 1080);
    QTest::newRow("wider pixels") << QSize(1440, 1080) << AVRational{4, 3} << 0 << QSize(1920, 1080);
    QTest::newRow("wider pixels, then turned")
        << QSize(1440, 1080) << AVRational{4, 3} << 90 << QSize(1080, 1920);
    QTest::newRow("only the height divides") << QSize(721, 480) << AVRational{3, 2} << 0 << QSize(722, 320);
    QTest::newRow("neither product divides") << QSize(718, 478) << AVRational{10, 11} << 0 << QSize(718, 478);
    QTest::newRow("unknown ratio") << QSize(720, 576) << AVRational{0, 1} << 0 << QSize(720, 576);
    QTest::newRow("a product beyond 32 bits is harmless")
        << QSize(65536, 32768) << AVRational{65537, 65536} << 0 << QSize(2, 32768);
}

void VideoArithmeticTest::findsTheDisplaySize()
{
    QFETCH(const QSize, coded);
    QFETCH(const AVRational, ratio);
    QFETCH(const int, rotation);
    Vantor::VideoStreamDescription stream;
    stream.width = coded.width();
    stream.height = coded.height();
    stream.sampleAspectRatio = ratio;
    stream.rotation = rotation;
    QTEST(displaySize(stream), "display");
}

void VideoArithmeticTest::scales_data()
{
    QTest::addColumn<QString>("scale");
    QTest::addColumn<QSize>("scaled");
    QTest::newRow("1") << QStringLiteral("1") << QSize(1920, 1080);
    QTest::newRow("2") << QStringLiteral("2") << QSize(960, 540);
    QTest::newRow("4") << QStringLiteral("4") << QSize(480, 272);
    QTest::newRow("another text") << QStringLiteral("3") << QSize(1920, 1080);
}

void VideoArithmeticTest::scales()
{
    QFETCH(const QString, scale);
    QTEST(scaledSize(QSize(1920, 1080), scale), "scaled");
    QCOMPARE(scaledSize(QSize(482, 718), QString()), QSize(482, 718));
    QCOMPARE(scaledSize(QSize(482, 718), QStringLiteral("1")), QSize(484, 720));
}

void VideoArithmeticTest::aimsAtASize_data()
{
    QTest::addColumn<qint64>("size");
    QTest::addColumn<qint64>("durationMs");
    QTest::addColumn<QList<int>>("audio");
    QTest::addColumn<QString>("percentage");
    QTest::addColumn<qint64>("fallbackMs");
    QTest::addColumn<int>("kbit");
    const QString half = QStringLiteral("50");
    constexpr qint64 kSize = 100000000;
    QTest::newRow("with sound") << kSize << qint64{60000} << QList<int>{128000} << half << qint64{0} << 6674;
    QTest::newRow("without") << kSize << qint64{60000} << QList<int>{} << half << qint64{0} << 6676;
    QTest::newRow("no number") << kSize << qint64{60000} << QList<int>{} << QStringLiteral("x") << qint64{0}
                               << 0;
    QTest::newRow("no number, with sound")
        << kSize << qint64{60000} << QList<int>{128000} << QString() << qint64{0} << -2;
    QTest::newRow("a duration from the builder")
        << kSize << qint64{0} << QList<int>{} << half << qint64{60000} << 6676;
    QTest::newRow("under half a second")
        << qint64{100000} << qint64{100} << QList<int>{} << half << qint64{100} << 780;
    QTest::newRow("saturates") << qint64{1} << qint64{600} << QList<int>{} << QStringLiteral("1e30")
                               << qint64{0} << 8388606;
    QTest::newRow("sums of sound beyond 32 bits")
        << qint64{0} << qint64{60000} << QList<int>{2000000000, 2000000000} << half << qint64{0} << -61036;
}

void VideoArithmeticTest::aimsAtASize()
{
    QFETCH(const qint64, size);
    QFETCH(const qint64, durationMs);
    QFETCH(const QList<int>, audio);
    QFETCH(const QString, percentage);
    QFETCH(const qint64, fallbackMs);
    Vantor::MediaInfoV3 info;
    info.duration = durationMs;
    info.size = size;
    for (const int bitrate : audio) {
        const auto stream = QSharedPointer<Vantor::MediaInfoAudioStream>::create();
        stream->bitrate = bitrate;
        info.audioStreams.append(stream);
    }
    QTEST(targetBitrateKbit(info, percentage, fallbackMs), "kbit");
}

QTEST_APPLESS_MAIN(VideoArithmeticTest)
#include "video_arithmetic_test.moc"
