// Encoders that are missing, or that the system cannot start. The program has a folder of its own, and the
// encoders in it are what each test puts there.
#include <QDir>
#include <QFile>
#include <QTest>

#include "image/Platform.h"
#include "tests/support/EncoderTest.h"
#include "tests/support/TaskProbe.h"

using namespace Qt::StringLiterals;
using Finish = TaskProbe::Finish;

class FailedStartTest : public EncoderTest
{
    Q_OBJECT

private slots:
    void initTestCase() { removeTools(); }
    void missingEncoder_data() { addTasks(); }
    void missingEncoder();
    void unstartableEncoder_data();
    void unstartableEncoder();
    void stopAndReleaseOfAFailedStart_data() { addTasks(); }
    void stopAndReleaseOfAFailedStart();

private:
    static void addTasks();
    static QString toolPath(const char* tool);
    static void removeTools();
    static void makeGarbage(const QString& tool);

    QString source() { return folder().write(u"source.bmp"_s, QByteArray(1000, 's')); }
};

void FailedStartTest::addTasks()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("tool");
    QTest::addColumn<QString>("text");
    QTest::newRow("jpg") << "out.jpg" << toolPath("cJpeg") << "";
    QTest::newRow("png") << "out.png" << toolPath("pngquant") << "";
    QTest::newRow("webp") << "out.webp" << toolPath("ffmpeg") << "fail";
}

QString FailedStartTest::toolPath(const char* tool)
{
    return QCoreApplication::applicationDirPath() + u'/' + Platform::executableName(tool);
}

void FailedStartTest::removeTools()
{
    for (const char* tool : {"cJpeg", "pngquant", "ffmpeg"})
        QFile::remove(toolPath(tool));
}

void FailedStartTest::makeGarbage(const QString& tool)
{
    QFile file(tool);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray("no program\0at all", 17));
    file.setPermissions(file.permissions() | QFile::ExeOwner);
}

void FailedStartTest::missingEncoder()
{
    QFETCH(const QString, output);
    removeTools();
    const QString outputPath = folder().write(output, "old");
    TaskProbe probe(source(), outputPath);
    QVERIFY(!probe->start());
    QVERIFY(probe.waitForFinishes(0));
    QCOMPARE(folder().leftovers(), QStringList());
    probe->stop();
    QVERIFY(probe.waitForFinishes(0));
    QCOMPARE(TestFolder::read(outputPath), QByteArray("old"));
    const qsizetype lines = output.endsWith(u"png") ? 1 : 0;
    QCOMPARE(messages().debugLines(u"pngquant: "_s).size(), lines);
}

void FailedStartTest::unstartableEncoder_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("tool");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("how");
    for (const char* how : {"garbage", "no permission", "a folder"}) {
        QTest::addRow("jpg, %s", how) << "out.jpg" << toolPath("cJpeg") << "" << QString::fromLatin1(how);
        QTest::addRow("png, %s", how) << "out.png" << toolPath("pngquant") << "" << QString::fromLatin1(how);
        QTest::addRow("webp, %s", how)
            << "out.webp" << toolPath("ffmpeg") << "fail" << QString::fromLatin1(how);
    }
}

void FailedStartTest::unstartableEncoder()
{
    QFETCH(const QString, output);
    QFETCH(const QString, tool);
    QFETCH(const QString, text);
    QFETCH(const QString, how);
    removeTools();
    if (how == u"a folder")
        QVERIFY(QDir().mkdir(tool));
    else
        makeGarbage(tool);
    if (how == u"no permission")
        QVERIFY(QFile::setPermissions(tool, QFile::ReadOwner | QFile::WriteOwner));

    const QString outputPath = folder().write(output, "old");
    TaskProbe probe(source(), outputPath);
    QVERIFY(probe->start());
    QCOMPARE(probe.finishes().size(), 0);
    QVERIFY(probe.waitForFinishes(1));
    QCOMPARE(probe.finish(), Finish(-2, text));
    QCOMPARE(TestFolder::read(outputPath), QByteArray("old"));
    QCOMPARE(folder().leftovers(), QStringList());

    // Once the encoder is repaired, the same task works.
    if (how == u"a folder")
        QVERIFY(QDir().rmdir(tool));
    QFile::remove(tool);
    QVERIFY(QFile::copy(QString::fromLocal8Bit(VXC_FAKE_ENCODER), tool));
    QVERIFY(probe.run());
    QCOMPARE(probe.finish().first, 0);
    QCOMPARE(TestFolder::read(outputPath), QByteArray(500, 'x'));
}

// Before the event loop has told of the failure.
void FailedStartTest::stopAndReleaseOfAFailedStart()
{
    QFETCH(const QString, output);
    QFETCH(const QString, tool);
    QFETCH(const QString, text);
    makeGarbage(tool);
    const QString outputPath = folder().write(output, "old");
    {
        TaskProbe probe(source(), outputPath);
        QVERIFY(probe->start());
        probe->stop();
        QVERIFY(probe.waitForFinishes(1));
        // The kill may have come before the system refused.
        QVERIFY(probe.finish().first != 0);
        if (probe.finish() == Finish(-2, text))
            QCOMPARE(TestFolder::read(outputPath), QByteArray("old"));
    }
    {
        folder().write(output, "old");
        TaskProbe probe(source(), outputPath);
        QVERIFY(probe->start());
        QVERIFY(probe->start());
        QVERIFY(probe.waitForFinishes(2));
        QCOMPARE(probe.finish(), Finish(-2, text));
    }
    {
        folder().write(output, "old");
        TaskProbe probe(source(), outputPath);
        QVERIFY(probe->start());
        probe.release();
        QVERIFY(probe.waitForFinishes(0));
    }
    {
        folder().write(output, "old");
        TaskProbe probe(source(), outputPath);
        probe.onFinish([&probe] { probe.release(); });
        QVERIFY(probe->start());
        QVERIFY(probe.waitForFinishes(1));
        QCOMPARE(TestFolder::read(outputPath), QByteArray("old"));
    }
}

QTEST_GUILESS_MAIN(FailedStartTest)
#include "failed_start_test.moc"
