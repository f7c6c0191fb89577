#include <QTest>

#include "tests/support/FakeEncoder.h"
#include "tests/support/MessageCapture.h"
#include "tests/support/TaskProbe.h"
#include "tests/support/TestFolder.h"

using Finish = TaskProbe::Finish;

class ImageTasksTest : public QObject
{
    Q_OBJECT

private slots:
    void deliversTheResult_data();
    void deliversTheResult();
};

void ImageTasksTest::deliversTheResult_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<Finish>("finish");
    QTest::newRow("jpeg") << "out.jpg" << Finish(0, QString());
    QTest::newRow("png") << "out.png" << Finish(0, QString());
    QTest::newRow("webp") << "out.webp" << Finish(0, QStringLiteral("successful"));
}

void ImageTasksTest::deliversTheResult()
{
    QFETCH(const QString, output);
    QFETCH(const Finish, finish);
    const MessageCapture messages;
    const TestFolder folder;
    const FakeEncoder fake;
    const QString outputPath = folder.path(output);
    TaskProbe probe(folder.write(QStringLiteral("a source.bmp"), QByteArray(1000, 's')), outputPath);
    QVERIFY(probe.run());
    QCOMPARE(probe.finish(), finish);
    QCOMPARE(TestFolder::read(outputPath), QByteArray(500, 'x'));
    QCOMPARE(fake.runs().size(), 1);
    QTRY_VERIFY(fake.allGone());
    QCOMPARE(folder.leftovers(), QStringList());
}

QTEST_GUILESS_MAIN(ImageTasksTest)
#include "image_tasks_test.moc"
