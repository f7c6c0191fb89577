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
    void missingEncoder_data() { addRows({"missing"}); }
    void missingEncoder();
    void unstartableEncoder_data() { addRows({"garbage", "no permission", "a folder"}); }
    void unstartableEncoder();
    void stopAndReleaseOfAFailedStart_data() { addRows({"garbage"}); }
    void stopAndReleaseOfAFailedStart();

private:
    static void addRows(const QList<const char*>& states);
    // Makes the row's encoder what the row says, and a file at the output path.
    void prepare();

    QString mTool;
    QString mOutput;
};

void FailedStartTest::addRows(const QList<const char*>& states)
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<QByteArray>("tool");
    QTest::addColumn<Finish>("finish");
    QTest::addColumn<QByteArray>("state");
    for (const QByteArray state : states) {
        QTest::addRow("jpg, %s", state.data()) << u"jpg"_s << QByteArray("cJpeg") << Finish(-2, {}) << state;
        QTest::addRow("png, %s", state.data())
            << u"png"_s << QByteArray("pngquant") << Finish(-2, {}) << state;
        QTest::addRow("webp, %s", state.data())
            << u"webp"_s << QByteArray("ffmpeg") << Finish(-2, u"fail"_s) << state;
    }
}

void FailedStartTest::prepare()
{
    QFETCH(const QString, suffix);
    QFETCH(const QByteArray, tool);
    QFETCH(const QByteArray, state);
    mOutput = folder().write(u"out."_s + suffix, kOld);
    mTool = QCoreApplication::applicationDirPath() + u'/' + Platform::executableName(tool);
    QDir().rmdir(mTool);
    QFile file(mTool);
    file.remove();
    if (state == "missing")
        return;
    if (state == "a folder") {
        QVERIFY(QDir().mkdir(mTool));
        return;
    }
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray("no program\0at all", 17));
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner |
                        (state == "garbage" ? QFile::ExeOwner : QFile::Permissions()));
}

void FailedStartTest::missingEncoder()
{
    prepare();
    TaskProbe probe(source(), mOutput);
    QVERIFY(!probe->start());
    QCOMPARE(folder().leftovers(), QStringList());
    probe->stop();
    QVERIFY(probe.waitForFinishes(0));
    QCOMPARE(TestFolder::read(mOutput), kOld);
}

void FailedStartTest::unstartableEncoder()
{
    QFETCH(const Finish, finish);
    prepare();
    TaskProbe probe(source(), mOutput);
    QVERIFY(probe->start());
    QCOMPARE(probe.finishes().size(), 0);
    QVERIFY(probe.waitForFinishes(1));
    QCOMPARE(probe.finish(), finish);
    QCOMPARE(TestFolder::read(mOutput), kOld);
    QCOMPARE(folder().leftovers(), QStringList());

    // Once the encoder is repaired, the same task works.
    QVERIFY(QDir().rmdir(mTool) || QFile::remove(mTool));
    QVERIFY(QFile::copy(QString::fromLocal8Bit(VXC_FAKE_ENCODER), mTool));
    QVERIFY(probe.run());
    QCOMPARE(probe.finish().first, 0);
    QCOMPARE(TestFolder::read(mOutput), kResult);
}

// Before the event loop has told of the failure.
void FailedStartTest::stopAndReleaseOfAFailedStart()
{
    QFETCH(const Finish, finish);
    for (const QByteArray does : {"stop", "start again", "release", "release in the finish"}) {
        prepare();
        TaskProbe probe(source(), mOutput);
        if (does == "release in the finish")
            probe.onFinish([&probe] { probe.release(); });
        QVERIFY(probe->start());
        if (does == "stop")
            probe->stop();
        if (does == "start again")
            QVERIFY(probe->start());
        if (does == "release")
            probe.release();
        QVERIFY(probe.waitForFinishes(does == "start again" ? 2 : does == "release" ? 0 : 1));
        // The kill may have come before the system refused.
        QVERIFY(does == "release" || probe.finish() == finish ||
                (does == "stop" && probe.finish().first != 0));
        if (does == "release in the finish" || (does == "stop" && probe.finish() == finish))
            QCOMPARE(TestFolder::read(mOutput), kOld);
    }
}

QTEST_GUILESS_MAIN(FailedStartTest)
#include "failed_start_test.moc"
