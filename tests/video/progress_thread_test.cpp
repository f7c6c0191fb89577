// The monitor against a file that grows as ffmpeg's does.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <memory>

#include "tests/support/MessageCapture.h"
#include "tests/support/TestFolder.h"
#include "video/ProgressThread.h"

using namespace Qt::StringLiterals;

namespace {

constexpr float kDurationMs = 10000;

// A monitor of a progress file and what it has told.
class Monitor
{
public:
    explicit Monitor(float durationMs = kDurationMs)
        : mThread(std::make_unique<ProgressThread>(durationMs, mFile.fileName()))
    {
        QObject::connect(mThread.get(), &ProgressThread::threadCompressProcess, &mContext,
                         [this](float progress) { mTold.append(progress); });
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
        QCoreApplication::sendPostedEvents(&mContext);
        return mTold;
    }
    bool fileExists() const { return mFile.exists(); }
    ProgressThread* operator->() const { return mThread.get(); }
    void destroy() { mThread.reset(); }

private:
    MessageCapture mMessages;
    TestFolder mFolder;
    QFile mFile{mFolder.path(u"progress.txt"_s)};
    QObject mContext;
    QList<float> mTold;
    std::unique_ptr<ProgressThread> mThread;
};

} // namespace

class ProgressThreadTest : public QObject
{
    Q_OBJECT

private slots:
    void readsTheLines_data();
    void readsTheLines();
    void followsAGrowingFile();
    void stopEndsEveryWait_data();
    void stopEndsEveryWait();
    void leavesAloneWhatItIsNotGiven();
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
    row("negative and past the end", "out_time_us=-2000000\nout_time_us=15000000", {0.2F, 1.5F});
    row("no number", "out_time_us=N/A", {0.0F});
    row("an hour", "out_time_us=3600000000", {0.5F}, 7200000.0F);
    row("malformed",
        "out_time_us=1000000=2\nout_time_us\n=5\nOUT_TIME_US=5\n xout_time_us=5\n\n\nout_time_us=0", {0.0F});
    row("Windows line ends", "out_time_us=5000000\r\nprogress=continue\r", {0.5F});
    row("no duration", "out_time_us=5000000", {}, 0);
    row("the end is not a value", "x=progress=end\nprogress=ended\nend=progress\nout_time_us=5000000",
        {0.5F});
}

void ProgressThreadTest::readsTheLines()
{
    QFETCH(const QByteArray, lines);
    QFETCH(const float, durationMs);
    QFETCH(const QList<float>, told);
    Monitor monitor(durationMs);
    monitor.append(lines + "\nprogress=end\nout_time_us=9000000\n");
    monitor->start();
    QVERIFY(monitor->wait(30000));
    QCOMPARE(monitor.told(), told);
    QVERIFY(!monitor.fileExists());
}

// It appears late, and is cut inside a key, inside a number and inside the end marker.
void ProgressThreadTest::followsAGrowingFile()
{
    Monitor monitor;
    monitor->start();
    QTest::qWait(50);
    monitor.append("out_time_us=1000000\nprogress=continue\nout_ti");
    QTRY_COMPARE(monitor.told().size(), 1);
    monitor.append("me_us=2000000\nout_time_us=30");
    QTRY_COMPARE(monitor.told().size(), 2);
    monitor.append("00000\nout_time_us=4000000\nprogress=en");
    QTRY_COMPARE(monitor.told().size(), 4);
    QVERIFY(monitor->isRunning());
    monitor.append("d");
    QVERIFY(monitor->wait(30000));
    QCOMPARE(monitor.told(), QList<float>({0.1F, 0.2F, 0.3F, 0.4F}));
    QVERIFY(!monitor.fileExists());
}

void ProgressThreadTest::stopEndsEveryWait_data()
{
    QTest::addColumn<bool>("withFile");
    QTest::addColumn<bool>("byDestructor");
    QTest::newRow("for the file, by request") << false << false;
    QTest::newRow("for more, by destructor") << true << true;
}

// A poll sleeps half a second: ten stops that wait for it take some four seconds, stops that end it hardly
// any time.
void ProgressThreadTest::stopEndsEveryWait()
{
    QFETCH(const bool, withFile);
    QFETCH(const bool, byDestructor);
    qint64 stoppingMs = 0;
    for (int i = 0; i < 10; ++i) {
        Monitor monitor;
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

// A command that could not be built names no progress file: not a warning, and certainly not one per attempt.
void ProgressThreadTest::leavesAloneWhatItIsNotGiven()
{
    const MessageCapture messages;
    ProgressThread nothing(kDurationMs, QString());
    nothing.start();
    QTest::qWait(50);
    nothing.requestStop();
    QVERIFY(nothing.wait(30000));
}

QTEST_GUILESS_MAIN(ProgressThreadTest)
#include "progress_thread_test.moc"
