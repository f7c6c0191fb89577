// Tasks that are stopped, released or started again at any moment, many at once, in any thread.
#include <QFileInfo>
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

} // namespace

class TaskLifetimeTest : public EncoderTest
{
    Q_OBJECT

private slots:
    void stopTellsAtOnce_data() { addSuffixes({", at once", ", half-way", ", ended but not told"}); }
    void stopTellsAtOnce();
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
    void workspaceIsPrivate();

private:
    static void addSuffixes(const QList<const char*>& moments = {""});
    static QString suffix()
    {
        QFETCH(const QString, suffix);
        return suffix;
    }
    QString output() { return folder().path(u"out."_s + suffix()); }
    QByteArray atOutput() { return TestFolder::read(output()); }
    QString writeOld() { return folder().write(u"out."_s + suffix(), kOld); }
    // Waits until so many encoders have written all they will. The event loop runs only with `turning`.
    bool waitForWritten(int count, bool turning = true);

    static bool isWebp() { return suffix() == u"webp"; }
    static Finish stoppedWithOutput() { return {kStopped, isWebp() ? u"fail"_s : QString()}; }
    // A stopped JPEG or PNG run that had written nothing is one without output.
    static Finish stoppedAtOnce() { return isWebp() ? Finish(kStopped, u"fail"_s) : Finish(2, {}); }
    static Finish success() { return {0, isWebp() ? u"successful"_s : QString()}; }
};

void TaskLifetimeTest::addSuffixes(const QList<const char*>& moments)
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<QByteArray>("moment");
    for (const char* suffix : {"jpg", "png", "webp"}) {
        for (const char* moment : moments)
            QTest::addRow("%s%s", suffix, moment) << QString::fromLatin1(suffix) << QByteArray(moment);
    }
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

// On Unix a process has not even reported its start at once. And the host's wish to stop wins over an end
// that nobody has been told of.
void TaskLifetimeTest::stopTellsAtOnce()
{
    QFETCH(const QByteArray, moment);
    const bool atOnce = moment == ", at once";
    const bool halfWay = moment == ", half-way";
    if (atOnce || halfWay)
        fake().hang();
    writeOld();
    TaskProbe probe(source(), output());
    QVERIFY(probe->start());
    QVERIFY(atOnce || waitForWritten(1, halfWay));
    if (!atOnce && !halfWay)
        QThread::msleep(50);
    probe->stop();
    QCOMPARE(probe.finishes().size(), 1);
    // An encoder that is stopped at once may have been so fast that it has written.
    QVERIFY(probe.finish() == stoppedWithOutput() || (atOnce && probe.finish() == stoppedAtOnce()));
    probe->stop();
    QVERIFY(probe.waitForFinishes(1));
    QCOMPARE(atOutput(), isWebp() ? QByteArray() : kOld);
    QCOMPARE(folder().leftovers(), QStringList());
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
    probe->stop();
    QVERIFY(probe.waitForFinishes(1));
    QCOMPARE(atOutput(), kResult);
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
    for (int way = 0; way < 3; ++way) {
        way == 0 ? fake().reset() : void(fake().hang());
        TaskProbe probe(source(), output());
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

// Sources of many sizes, in two threads: each task gets the result of its own.
void TaskLifetimeTest::manyAtOnce()
{
    constexpr int kTasks = 12;
    const auto runAll = [this](const QString& prefix) {
        std::vector<std::unique_ptr<TaskProbe>> probes;
        bool good = true;
        const auto place = [&](int i, const QString& suffix) { return prefix + QString::number(i) + suffix; };
        const auto outputAt = [&](int i) {
            return folder().path(place(i, QStringList{u".webp"_s, u".png"_s, u".jpg"_s}[i % 3]));
        };
        for (int i = 0; i < kTasks; ++i) {
            const QString from = folder().write(place(i, u".bmp"_s), QByteArray(100 + 2 * i, 's'));
            probes.push_back(std::make_unique<TaskProbe>(from, outputAt(i)));
            good = (*probes.back())->start() && good;
        }
        for (int i = 0; i < kTasks; ++i) {
            good = probes[i]->waitForFinishes(1) && probes[i]->finish().first == 0 && good;
            good = TestFolder::read(outputAt(i)).size() == 50 + i && good;
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

void TaskLifetimeTest::workspaceIsPrivate()
{
    fake().hang();
    TaskProbe probe(folder().write(u"photo.PNG"_s, kSource), folder().path(u"out.jpg"_s));
    QVERIFY(probe->start());
    QVERIFY(waitForWritten(1));
    QCOMPARE(folder().leftovers().size(), 1);
    const QFileInfo workspace(folder().temporaryPath() + u'/' + folder().leftovers()[0]);
    QVERIFY(workspace.fileName().startsWith(u"compress"_s));
#ifdef Q_OS_UNIX
    QCOMPARE(int(workspace.permissions() & 0x0fff), 0x0700);
#endif
    const QString images = workspace.filePath() + u"/temporaryImage_%1.PNG"_s;
    QCOMPARE(TestFolder::read(images.arg(1)), kSource);
    QCOMPARE(TestFolder::read(images.arg(2)), kResult);
    probe->stop();
    QCOMPARE(folder().leftovers(), QStringList());
}

QTEST_GUILESS_MAIN(TaskLifetimeTest)
#include "task_lifetime_test.moc"
