// The monitor against a file that grows as ffmpeg's does.
#include <QElapsedTimer>
#include <QFile>
#include <QMutex>
#include <QMutexLocker>
#include <QTest>

#include <memory>

#include "tests/support/MessageCapture.h"
#include "tests/support/TestFolder.h"
#include "video/ProgressThread.h"

using namespace Qt::StringLiterals;

namespace {

constexpr float kDurationMs = 10000;

// A monitor of <folder>/progress.txt and what it has told, in whichever thread.
class Monitor
{
public:
    explicit Monitor(const TestFolder& folder, float durationMs = kDurationMs)
        : mFile(folder.path(u"progress.txt"_s)),
          mThread(std::make_unique<ProgressThread>(durationMs, mFile.fileName()))
    {
        QObject::connect(
            mThread.get(), &ProgressThread::threadCompressProcess, mThread.get(),
            [this](float progress) {
                const QMutexLocker lock(&mMutex);
                // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): the analyzer loses `this` in connect()
                mTold.append(progress);
            },
            Qt::DirectConnection);
    }

    // Opened for each piece: the monitor may have removed the file.
    void append(const QByteArray& piece)
    {
        QVERIFY(mFile.open(QIODevice::Append));
        mFile.write(piece);
        mFile.close();
    }
    QList<float> told()
    {
        const QMutexLocker lock(&mMutex);
        return mTold;
    }
    bool fileExists() const { return mFile.exists(); }
    ProgressThread* operator->() const { return mThread.get(); }
    void destroy() { mThread.reset(); }

private:
    QFile mFile;
    QMutex mMutex;
    QList<float> mTold;
    std::unique_ptr<ProgressThread> mThread;
};

} // namespace

class ProgressThreadTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { mMessages = std::make_unique<MessageCapture>(); }
    void cleanup() { mMessages.reset(); }
    void readsTheLines_data();
    void readsTheLines();
    void followsAGrowingFile();
    void joinsHalfLines();
    void stopEndsEveryWait_data();
    void stopEndsEveryWait();
    void destroysWithoutAStart();
    void leavesAloneWhatItIsNotGiven();

private:
    std::unique_ptr<MessageCapture> mMessages;
};

void ProgressThreadTest::readsTheLines_data()
{
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<float>("durationMs");
    QTest::addColumn<QList<float>>("told");
    const auto row = [](const char* name, const char* lines, const QList<float>& told,
                        float durationMs = kDurationMs) {
        QTest::newRow(name) << QByteArray(lines) << durationMs << told;
    };
    row("half", "out_time_us=5000000", {0.5F});
    row("negative and past the end", "out_time_us=-2000000\nout_time_us=15000000", {0.2F, 1.5F});
    row("no number", "out_time_us=N/A", {0.0F});
    row("an hour", "out_time_us=3600000000", {0.5F}, 7200000.0F);
    row("a whole block",
        "frame=10\nfps=0.0\nout_time_us=2500000\nout_time_ms=2500000\nout_time=00:00:02.5\n"
        "speed=   1x\nprogress=continue\nout_time_us=5000000",
        {0.25F, 0.5F});
    row("malformed",
        "out_time_us=1000000=2\nout_time_us\n=5\nOUT_TIME_US=5\n xout_time_us=5\n\n\nout_time_us=0", {0.0F});
    row("Windows line ends", "out_time_us=5000000\r\nprogress=continue\r", {0.5F});
    row("no duration", "out_time_us=5000000", {}, 0);
    row("a negative duration", "out_time_us=5000000", {}, -1);
    row("the end is not a value", "x=progress=end\nprogress=ended\nend=progress\nout_time_us=5000000",
        {0.5F});
}

void ProgressThreadTest::readsTheLines()
{
    QFETCH(const QByteArray, lines);
    QFETCH(const float, durationMs);
    QFETCH(const QList<float>, told);
    const TestFolder folder;
    Monitor monitor(folder, durationMs);
    monitor.append(lines + "\nprogress=end\nout_time_us=9000000\n");
    monitor->start();
    QVERIFY(monitor->wait(30000));
    QCOMPARE(monitor.told(), told);
    QVERIFY(!monitor.fileExists());
}

void ProgressThreadTest::followsAGrowingFile()
{
    const TestFolder folder;
    Monitor monitor(folder);
    monitor->start();
    QTest::qWait(50);
    monitor.append("out_time_us=1000000\nprogress=continue\n");
    QTRY_COMPARE(monitor.told(), QList<float>{0.1F});
    QVERIFY(monitor->isRunning());
    monitor.append("out_time_us=2000000\nout_time_us=3000000\nprogress=continue\n");
    QTRY_COMPARE(monitor.told(), QList<float>({0.1F, 0.2F, 0.3F}));
    monitor.append("out_time_us=4000000\nprogress=end\n");
    QVERIFY(monitor->wait(30000));
    QCOMPARE(monitor.told(), QList<float>({0.1F, 0.2F, 0.3F, 0.4F}));
    QVERIFY(!monitor.fileExists());
}

// Cut inside a key, inside a number and inside the end marker.
void ProgressThreadTest::joinsHalfLines()
{
    const TestFolder folder;
    Monitor monitor(folder);
    monitor.append("out_time_us=1000000\nout_ti");
    monitor->start();
    QTRY_COMPARE(monitor.told().size(), 1);
    monitor.append("me_us=2000000\nout_time_us=30");
    QTRY_COMPARE(monitor.told().size(), 2);
    monitor.append("00000\nout_time_us=4000000\nprogress=en");
    QTRY_COMPARE(monitor.told().size(), 4);
    QVERIFY(monitor->isRunning());
    monitor.append("d");
    QVERIFY(monitor->wait(30000));
    QCOMPARE(monitor.told(), QList<float>({0.1F, 0.2F, 0.3F, 0.4F}));
}

void ProgressThreadTest::stopEndsEveryWait_data()
{
    QTest::addColumn<bool>("withFile");
    QTest::addColumn<bool>("byDestructor");
    QTest::newRow("for the file, by request") << false << false;
    QTest::newRow("for the file, by destructor") << false << true;
    QTest::newRow("for more, by request") << true << false;
    QTest::newRow("for more, by destructor") << true << true;
}

// A poll sleeps half a second: ten stops that wait for it take some four seconds, stops that end it hardly
// any time.
void ProgressThreadTest::stopEndsEveryWait()
{
    QFETCH(const bool, withFile);
    QFETCH(const bool, byDestructor);
    const TestFolder folder;
    qint64 stoppingMs = 0;
    for (int i = 0; i < 10; ++i) {
        Monitor monitor(folder);
        if (withFile)
            monitor.append("out_time_us=1000000\n");
        monitor->start();
        QTRY_COMPARE(monitor.told().size(), withFile ? 1 : 0);
        QElapsedTimer timer;
        timer.start();
        if (byDestructor) {
            monitor.destroy();
        } else {
            monitor->requestStop();
            QVERIFY(monitor->wait(30000));
        }
        stoppingMs += timer.elapsed();
        QVERIFY(!monitor.fileExists());
    }
    QVERIFY2(stoppingMs < 2000, qPrintable(QString::number(stoppingMs)));
}

void ProgressThreadTest::destroysWithoutAStart()
{
    const TestFolder folder;
    Monitor monitor(folder);
    monitor.append("out_time_us=1000000\n");
    monitor.destroy();
    QVERIFY(monitor.fileExists());

    // A request before the start counts.
    Monitor stopped(folder);
    stopped->requestStop();
    stopped->start();
    QVERIFY(stopped->wait(30000));
    QCOMPARE(stopped.told(), QList<float>());
}

// A command that could not be built names no progress file: not a warning, and certainly not one per attempt.
void ProgressThreadTest::leavesAloneWhatItIsNotGiven()
{
    ProgressThread nothing(kDurationMs, QString());
    nothing.start();
    QTest::qWait(50);
    nothing.requestStop();
    QVERIFY(nothing.wait(30000));
}

QTEST_GUILESS_MAIN(ProgressThreadTest)
#include "progress_thread_test.moc"
