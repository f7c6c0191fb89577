#include <QTest>

#include "host/SizeText.h"

/// The figures that users read.
class HostTextTest : public QObject
{
    Q_OBJECT

private slots:
    void sizesKeepThreeDigits_data();
    void sizesKeepThreeDigits();
    void savings();
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

QTEST_APPLESS_MAIN(HostTextTest)
#include "host_text_test.moc"
