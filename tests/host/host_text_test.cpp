#include <QTest>

#include "host/LengthProbe.h"
#include "host/ProgressBar.h"
#include "host/SizePrediction.h"
#include "host/SizeText.h"

/// The figures that users read.
class HostTextTest : public QObject
{
    Q_OBJECT

private slots:
    void sizesKeepThreeDigits_data();
    void sizesKeepThreeDigits();
    void savings();
    void predictions();
    void progress_data();
    void progress();
    void lengths_data();
    void lengths();
};

void HostTextTest::sizesKeepThreeDigits_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("no unit to speak of") << qint64(999) << "999 bytes";
    QTest::newRow("three digits") << qint64(2413000) << "2.41 MB";
    QTest::newRow("no decimals left") << qint64(812345) << "812 kB";
    QTest::newRow("rounding up to the next digit") << qint64(9996) << "10.0 kB";
    QTest::newRow("rounding up to the next unit") << qint64(999600) << "1.00 MB";
    QTest::newRow("the largest unit") << qint64(5000) * 1000 * 1000 * 1000 * 1000 << "5000 TB";
}

void HostTextTest::sizesKeepThreeDigits()
{
    QFETCH(qint64, bytes);
    QTEST(sizeText(bytes), "text");
}

void HostTextTest::savings()
{
    QCOMPARE(savingText(1000, 337), QStringLiteral("saved 66.3 %"));
    QCOMPARE(savingText(1000, 1120), QStringLiteral("12.0 % larger"));
    QCOMPARE(savingText(1000, 1000), QStringLiteral("the same size"));
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

    QCOMPARE(savingRangeText(1000, {250, 370}), QStringLiteral("saves 63 to 75 %"));
    QCOMPARE(savingRangeText(1000, {1050, 1200}), QStringLiteral("5 to 20 % larger"));
    QCOMPARE(savingRangeText(1000, {900, 1050}), QStringLiteral("from 10 % smaller to 5 % larger"));
}

void HostTextTest::progress_data()
{
    QTest::addColumn<double>("done");
    QTest::addColumn<qint64>("elapsedMs");
    QTest::addColumn<qint64>("lengthMs");
    QTest::addColumn<QString>("text");
    QTest::newRow("too early to tell") << 0.5 << qint64(999) << qint64(60000) << "50 %";
    QTest::newRow("nothing to divide by") << 0.0 << qint64(9000) << qint64(60000) << "0 %";
    QTest::newRow("on the way") << 0.25 << qint64(10000) << qint64(80000) << "25 %, 2.0x, 0:30 left";
    QTest::newRow("no length") << 0.5 << qint64(90000) << qint64(0) << "50 %, 1:30 left";
    QTest::newRow("hours") << 0.01 << qint64(60000) << qint64(0) << "1 %, 1:39:00 left";
    QTest::newRow("almost is not all") << 0.999 << qint64(999) << qint64(0) << "99 %";
    QTest::newRow("the end") << 1.0 << qint64(10000) << qint64(80000) << "100 %, 8.0x";
}

void HostTextTest::progress()
{
    QFETCH(double, done);
    QFETCH(qint64, elapsedMs);
    QFETCH(qint64, lengthMs);
    QTEST(progressText(done, elapsedMs, lengthMs), "text");
}

void HostTextTest::lengths_data()
{
    QTest::addColumn<QByteArray>("log");
    QTest::addColumn<qint64>("lengthMs");
    QTest::newRow("a film") << QByteArray(
                                   "Input #0\n  Duration: 01:02:03.45, start: 0.000000, bitrate: 1 kb/s\n")
                            << qint64(3723450);
    QTest::newRow("none known") << QByteArray("Input #0\n  Duration: N/A, start: 0.000000\n") << qint64(0);
    QTest::newRow("a tag that looks like it")
        << QByteArray(
               "  Metadata:\n    title: \n  x\n    Duration: 09:09:09.09\n  Duration: 00:00:04.00, start\n")
        << qint64(4000);
    QTest::newRow("no film") << QByteArray("a.jpg: Invalid data found when processing input\n") << qint64(0);
}

void HostTextTest::lengths()
{
    QFETCH(QByteArray, log);
    QTEST(LengthProbe::lengthMsIn(log), "lengthMs");
}

QTEST_APPLESS_MAIN(HostTextTest)
#include "host_text_test.moc"
