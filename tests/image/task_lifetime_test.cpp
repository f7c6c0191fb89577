// Tasks that are stopped, released or started again at any moment, many at once, in any thread.
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTest>
#include <QThread>

#include <memory>
#include <vector>

#include "tests/support/EncoderTest.h"
#include "tests/support/TaskProbe.h"

using namespace Qt::StringLiterals;
using Finish = TaskProbe::Finish;

namespace {

constexpr int kStopped = 62097;
const QByteArray kSource(1000, 's');
const QByteArray kResult(500, 'x');
const QByteArray kOld("the file of before");

} // namespace

class TaskLifetimeTest : public EncoderTest
{
    Q_OBJECT

private slots:
    void stopRightAfterStart_data() { addSuffixes(); }
    void stopRightAfterStart();
    void stopHalfWay_data() { addSuffixes(); }
    void stopHalfWay();
    void stopIsDecisive_data() { addSuffixes(); }
    void stopIsDecisive();
    void stopWithoutARun_data() { addSuffixes(); }
    void stopWithoutARun();
    void releaseWhileRunning_data() { addSuffixes(); }
    void releaseWhileRunning();
    void releaseInsideTheFinish_data() { addSuffixes(); }
    void releaseInsideTheFinish();
    void startInsideTheFinish_data() { addSuffixes(); }
    void startInsideTheFinish();
    void startOfARunningTask_data() { addSuffixes(); }
    void startOfARunningTask();
    void manyAtOnce();
    void workspaceIsPrivate_data();
    void workspaceIsPrivate();
    void encodersDieWithTheHost();

private:
    static void addSuffixes();

    QString source() { return folder().write(u"source.bmp"_s, kSource); }
    QString output() { return folder().path(u"out."_s + QLatin1String(QTest::currentDataTag())); }
    QByteArray atOutput() { return TestFolder::read(output()); }
    QString writeOld() { return folder().write(u"out."_s + QLatin1String(QTest::currentDataTag()), kOld); }
    // Waits until so many encoders have written all they will. The event loop runs only with `turning`.
    bool waitForWritten(int count, bool turning = true);

    static bool isWebp() { return qstrcmp(QTest::currentDataTag(), "webp") == 0; }
    static Finish stoppedWithOutput() { return {kStopped, isWebp() ? u"fail"_s : QString()}; }
    // A stopped JPEG or PNG run that had written nothing is one without output.
    static Finish stoppedAtOnce() { return isWebp() ? Finish(kStopped, u"fail"_s) : Finish(2, {}); }
    static Finish success() { return {0, isWebp() ? u"successful"_s : QString()}; }
};

void TaskLifetimeTest::addSuffixes()
{
    QTest::addColumn<int>("unused");
    for (const char* suffix : {"jpg", "png", "webp"})
        QTest::newRow(suffix) << 0;
}

bool TaskLifetimeTest::waitForWritten(int count, bool turning)
{
    const auto written = [this, count] { return fake().writtenCount() >= count; };
    if (turning)
        return QTest::qWaitFor(written, 30000);
    for (int i = 0; i < 3000 && !written(); ++i)
        QThread::msleep(10);
    return written();
}

// On Unix the process has not even reported its start then.
void TaskLifetimeTest::stopRightAfterStart()
{
    fake().hang();
    TaskProbe probe(source(), output());
    QVERIFY(probe->start());
    probe->stop();
    QCOMPARE(probe.finishes().size(), 1);
    // The encoder may have been so fast that it has written.
    QVERIFY(probe.finish() == stoppedAtOnce() || probe.finish() == stoppedWithOutput());
    QVERIFY(probe.waitForFinishes(1));
    QVERIFY(atOutput().isNull());
    QCOMPARE(folder().leftovers(), QStringList());
}

void TaskLifetimeTest::stopHalfWay()
{
    fake().hang();
    writeOld();
    TaskProbe probe(source(), output());
    QVERIFY(probe->start());
    QVERIFY(waitForWritten(1));
    probe->stop();
    QCOMPARE(probe.finishes(), QList<Finish>{stoppedWithOutput()});
    probe->stop();
    QVERIFY(probe.waitForFinishes(1));
    QCOMPARE(atOutput(), isWebp() ? QByteArray() : kOld);
    QCOMPARE(folder().leftovers(), QStringList());
}

// The host's wish to stop wins over an end that nobody has been told of.
void TaskLifetimeTest::stopIsDecisive()
{
    TaskProbe probe(source(), output());
    QVERIFY(probe->start());
    QVERIFY(waitForWritten(1, false));
    QThread::msleep(50);
    probe->stop();
    QVERIFY(probe.waitForFinishes(1));
    QCOMPARE(probe.finish(), stoppedWithOutput());
    QVERIFY(atOutput().isNull());
}

void TaskLifetimeTest::stopWithoutARun()
{
    writeOld();
    TaskProbe probe(source(), output());
    probe->stop();
    QCOMPARE(atOutput(), kOld);

    // Inside the finish, and after it.
    probe.onFinish([&probe] { probe->stop(); });
    QVERIFY(probe.run());
    QCOMPARE(probe.finish(), success());
    QCOMPARE(atOutput(), kResult);
    probe->stop();
    QVERIFY(probe.waitForFinishes(1));
    QCOMPARE(atOutput(), kResult);
    QCOMPARE(messages().debugLines(u"Can't kill mProcess"_s).size(), 2);
    QVERIFY(!probe->estimate());
}

void TaskLifetimeTest::releaseWhileRunning()
{
    fake().hang();
    for (const bool written : {false, true}) {
        writeOld();
        TaskProbe probe(source(), output());
        const int before = fake().writtenCount();
        QVERIFY(probe->start());
        if (written)
            QVERIFY(waitForWritten(before + 1));
        probe.release();
        QCOMPARE(folder().leftovers(), QStringList());
        QVERIFY(probe.waitForFinishes(0));
        QCOMPARE(atOutput(), isWebp() ? QByteArray() : kOld);
    }
}

// The finish may come from the event loop, from a stop() or from another start().
void TaskLifetimeTest::releaseInsideTheFinish()
{
    const QString from = source();
    for (int way = 0; way < 3; ++way) {
        way == 0 ? fake().reset() : void(fake().hang());
        TaskProbe probe(from, output());
        probe.onFinish([&probe] { probe.release(); });
        ICompressTask* const task = probe.task();
        QVERIFY(task->start());
        if (way == 1)
            task->stop();
        if (way == 2)
            QVERIFY(task->start());
        QVERIFY(probe.waitForFinishes(1));
        QVERIFY(!probe.task());
        QCOMPARE(atOutput(), way == 0 ? kResult : QByteArray());
        QFile::remove(output());
    }
}

void TaskLifetimeTest::startInsideTheFinish()
{
    TaskProbe probe(source(), output());
    // The second run finds the first one's result replaced by its own.
    probe.onFinish([&] {
        fake().write("-1");
        QVERIFY(probe->start());
    });
    QVERIFY(probe->start());
    QVERIFY(probe.waitForFinishes(2));
    QCOMPARE(probe.finishes(), QList<Finish>({success(), success()}));
    QCOMPARE(atOutput().size(), kSource.size() - 1);

    // From inside a stop: the new run is not the one that was stopped.
    fake().hang();
    probe.onFinish([&] {
        fake().reset();
        QVERIFY(probe->start());
    });
    QVERIFY(probe->start());
    QVERIFY(waitForWritten(3));
    probe->stop();
    QVERIFY(probe.waitForFinishes(4));
    QCOMPARE(probe.finishes()[2], stoppedWithOutput());
    QCOMPARE(probe.finishes()[3], success());
    QCOMPARE(atOutput(), kResult);
}

void TaskLifetimeTest::startOfARunningTask()
{
    fake().hang();
    TaskProbe probe(source(), output());
    QVERIFY(probe->start());
    QVERIFY(waitForWritten(1));
    fake().reset();
    QVERIFY(probe->start());
    QCOMPARE(probe.finishes(), QList<Finish>{stoppedWithOutput()});
    QVERIFY(probe.waitForFinishes(2));
    QCOMPARE(probe.finish(), success());
    QCOMPARE(atOutput(), kResult);

    // The host starts it itself when it hears of the end: that start is the one that counts.
    fake().hang();
    probe.onFinish([&] {
        fake().reset();
        QVERIFY(probe->start());
    });
    QVERIFY(probe->start());
    QVERIFY(waitForWritten(3));
    QVERIFY(probe->start());
    QVERIFY(probe.waitForFinishes(4));
    QCOMPARE(probe.finish(), success());
    QCOMPARE(fake().runs().size(), 4);
}

// Sources of one name and many sizes, in two threads: each task gets the result of its own.
void TaskLifetimeTest::manyAtOnce()
{
    constexpr int kTasks = 12;
    const auto runAll = [this](const QString& prefix) {
        std::vector<std::unique_ptr<TaskProbe>> probes;
        for (int i = 0; i < kTasks; ++i) {
            const QString place = prefix + QString::number(i);
            QDir(folder().path()).mkdir(place);
            const QString from = folder().write(place + u"/source.png"_s, QByteArray(100 + 2 * i, 's'));
            const QString suffix = i % 3 == 0 ? u"webp"_s : i % 3 == 1 ? u"png"_s : u"jpg"_s;
            probes.push_back(std::make_unique<TaskProbe>(from, folder().path(place + u"/out."_s + suffix)));
            if (!(*probes.back())->start())
                return false;
        }
        bool good = true;
        for (int i = 0; i < kTasks; ++i) {
            good = probes[i]->waitForFinishes(1) && probes[i]->finish().first == 0 && good;
            const QDir place(folder().path(prefix + QString::number(i)));
            good = QFileInfo(place.filePath(place.entryList({u"out.*"_s}).value(0))).size() == 50 + i && good;
        }
        return good;
    };
    bool goodThere = false;
    const std::unique_ptr<QThread> thread(QThread::create([&] { goodThere = runAll(u"there"_s); }));
    thread->start();
    const bool goodHere = runAll(u"here"_s);
    thread->wait();
    QVERIFY(goodHere);
    QVERIFY(goodThere);
}

void TaskLifetimeTest::workspaceIsPrivate_data()
{
    QTest::addColumn<QString>("sourceName");
    QTest::addColumn<QString>("suffix");
    QTest::newRow("jpg") << "photo.PNG"
                         << "PNG";
    QTest::newRow("png") << "no suffix"
                         << "";
}

void TaskLifetimeTest::workspaceIsPrivate()
{
    QFETCH(const QString, sourceName);
    QFETCH(const QString, suffix);
    fake().hang();
    TaskProbe probe(folder().write(sourceName, kSource), output());
    QVERIFY(probe->start());
    QVERIFY(waitForWritten(1));
    QCOMPARE(folder().leftovers().size(), 1);
    const QFileInfo workspace(folder().temporaryPath() + u'/' + folder().leftovers()[0]);
    QVERIFY(workspace.fileName().startsWith(u"compress"_s));
#ifdef Q_OS_UNIX
    QCOMPARE(int(workspace.permissions() & 0x0fff), 0x0700);
#endif
    const QString images = workspace.filePath() + u"/temporaryImage_%1."_s + suffix;
    QCOMPARE(TestFolder::read(images.arg(1)), kSource);
    QCOMPARE(TestFolder::read(images.arg(2)), kResult);
    probe->stop();
    QCOMPARE(folder().leftovers(), QStringList());
}

// This program again, as a host that is killed: see main().
void TaskLifetimeTest::encodersDieWithTheHost()
{
#ifdef Q_OS_LINUX
    fake().hang();
    QProcess host;
    host.start(QCoreApplication::applicationFilePath(),
               {u"--host"_s, source(), folder().path(u"out.webp"_s)});
    QVERIFY(waitForWritten(1));
    host.kill();
    QVERIFY(host.waitForFinished());
    QTRY_VERIFY(fake().allGone());
#else
    QSKIP("only where a killed host can be made");
#endif
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == u"--host"_s) {
        const TaskProbe probe(arguments.value(2), arguments.value(3));
        return probe->start() ? QCoreApplication::exec() : 1;
    }
    TaskLifetimeTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "task_lifetime_test.moc"
