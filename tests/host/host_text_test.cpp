#include <QTest>

#include "host/LengthProbe.h"
#include "host/Options.h"
#include "host/ProgressBar.h"
#include "host/SizePrediction.h"
#include "host/SizeText.h"

using namespace Qt::StringLiterals;

/// What users' words mean, and the figures that users read.
class HostTextTest : public QObject
{
    Q_OBJECT

private slots:
    void aims();
    void sizes();
    void predictions();
    void progress();
    void lengths();
};

static QString aimOf(const QString& line)
{
    const auto result = parseOptions(line.split(u' '));
    const auto* const options = std::get_if<Options>(&result);
    return options ? (options->isPercentage ? u"size "_s : u"quality "_s) + options->quality : u"none"_s;
}

void HostTextTest::aims()
{
    QCOMPARE(aimOf(u"vxcompress a b.jpeg"_s), u"quality 75"_s);
    QCOMPARE(aimOf(u"vxcompress a b.png"_s), u"quality 80"_s);
    QCOMPARE(aimOf(u"vxcompress a b.mkv"_s), u"quality 28"_s);
    QCOMPARE(aimOf(u"vxcompress a b.mp4 --quality 51"_s), u"quality 51"_s);
    QCOMPARE(aimOf(u"vxcompress -q 0 a b.JPG"_s), u"quality 0"_s);
    // Encoders get a number in its plainest form.
    QCOMPARE(aimOf(u"vxcompress a b.jpg -q +007"_s), u"quality 7"_s);
    QCOMPARE(aimOf(u"vxcompress a b.mp4 --size 50%"_s), u"size 50"_s);
    QCOMPARE(aimOf(u"vxcompress a b.mp4 --size=100"_s), u"size 100"_s);
}

void HostTextTest::sizes()
{
    QCOMPARE(sizeText(999), u"999 bytes"_s);
    QCOMPARE(sizeText(2413000), u"2.41 MB"_s);
    QCOMPARE(sizeText(812345), u"812 kB"_s);
    // Rounded up to the next digit, to the next unit.
    QCOMPARE(sizeText(9996), u"10.0 kB"_s);
    QCOMPARE(sizeText(999600), u"1.00 MB"_s);
    QCOMPARE(sizeText(qint64(5000) * 1000 * 1000 * 1000 * 1000), u"5000 TB"_s);
    QCOMPARE(savingText(1000, 337), u"saved 66.3 %"_s);
    QCOMPARE(savingText(1000, 1120), u"12.0 % larger"_s);
    QCOMPARE(savingText(1000, 1000), u"the same size"_s);
}

void HostTextTest::predictions()
{
    // What was encoded is certain, the more of it the better.
    const SizeRange atQuality = predictSize(1000, 15000, 45000, false);
    QVERIFY(atQuality.low > 2000 && atQuality.low < 3000 && atQuality.high > 3000 && atQuality.high < 4000);
    const SizeRange nearlyAll = predictSize(1000, 15000, 15300, false);
    QVERIFY(nearlyAll.low >= 1015 - 5 && nearlyAll.high <= 1020 + 7);
    const SizeRange atSize = predictSize(1000, 15000, 45000, true);
    QVERIFY(atSize.low > atQuality.low && atSize.high < atQuality.high);

    QCOMPARE(savingRangeText(1000, {250, 370}), u"saves 63 to 75 %"_s);
    QCOMPARE(savingRangeText(1000, {1050, 1200}), u"5 to 20 % larger"_s);
    QCOMPARE(savingRangeText(1000, {900, 1050}), u"from 10 % smaller to 5 % larger"_s);
}

void HostTextTest::progress()
{
    // Too early to tell, then nothing to divide by.
    QCOMPARE(progressText(0.5, 999, 60000), u"50 %"_s);
    QCOMPARE(progressText(0.0, 9000, 60000), u"0 %"_s);
    QCOMPARE(progressText(0.25, 10000, 80000), u"25 %, 2.0x, 0:30 left"_s);
    // A film of unknown length.
    QCOMPARE(progressText(0.01, 60000, 0), u"1 %, 1:39:00 left"_s);
    QCOMPARE(progressText(0.999, 999, 0), u"99 %"_s);
    QCOMPARE(progressText(1.0, 10000, 80000), u"100 %, 8.0x"_s);
}

void HostTextTest::lengths()
{
    QCOMPARE(LengthProbe::lengthMsIn("Input #0\n  Duration: 01:02:03.45, start: 0.000000\n"), 3723450);
    QCOMPARE(LengthProbe::lengthMsIn("Input #0\n  Duration: N/A, start: 0.000000\n"), 0);
    // A title can look like it.
    QCOMPARE(LengthProbe::lengthMsIn("  Metadata:\n    title: \n  x\n    Duration: 09:09:09.09\n"
                                     "  Duration: 00:00:04.00, start\n"),
             4000);
}

QTEST_APPLESS_MAIN(HostTextTest)
#include "host_text_test.moc"
