// The monitor against a file that grows as ffmpeg's does.
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <array>
#include <memory>

#include "tests/support/TestFolder.h"
#include "video/ProgressThread.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kPollMs = 500;

// A monitor of a progress file, and what it has told.
struct Monitor
{
    explicit Monitor(float durationMs = 10000, bool isNamed = true)
        : thread(std::make_unique<ProgressThread>(durationMs, isNamed ? file.fileName() : QString()))
    {
        QObject::connect(thread.get(), &ProgressThread::threadCompressProcess, &context,
                         [this](float progress) { told.append(progress); });
    }
    // Opened for each piece: the monitor may have removed the file.
    void append(const QByteArray& piece)
    {
        QVERIFY(file.open(QIODevice::Append));
        file.write(piece);
        file.close();
    }

    TestFolder folder;
    QFile file{folder.path(u"progress.txt"_s)};
    QList<float> told;
    QObject context;
    std::unique_ptr<ProgressThread> thread;
};

} // namespace

class ProgressThreadTest : public QObject
{
    Q_OBJECT

private slots:
    // It appears late, and is cut inside a key, inside a number and inside the end marker.
    void growingFile()
    {
        Monitor monitor;
        monitor.thread->start();
        QTRY_VERIFY(monitor.thread->isRunning());
        monitor.append("out_time_us=1000000\nprogress=continue\nout_ti");
        QTRY_COMPARE(monitor.told.size(), 1);
        monitor.append("me_us=2000000\nout_time_us=30");
        QTRY_COMPARE(monitor.told.size(), 2);
        monitor.append("00000\nout_time_us=4000000\nprogress=en");
        QTRY_COMPARE(monitor.told.size(), 4);
        QVERIFY(monitor.thread->isRunning());
        monitor.append("d");
        QVERIFY(monitor.thread->wait(30000));
        QCOMPARE(monitor.told, QList<float>({0.1F, 0.2F, 0.3F, 0.4F}));
    }

    // A poll sleeps half a second: of several stops, each of which has to wait for its end, none is faster.
    // Without a name there is no file, and not a warning for every attempt to open it.
    void stopEndsEveryWait()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        std::array<qint64, 3> fastestMs{kPollMs, kPollMs, kPollMs};
        for (int i = 0; i < 12; ++i) {
            Monitor monitor(10000, i % 3 != 1);
            if (i % 3 == 0)
                monitor.append("out_time_us=1000000\n");
            monitor.thread->start();
            QTRY_COMPARE(monitor.told.size(), i % 3 == 0 ? 1 : 0);
            QElapsedTimer timer;
            timer.start();
            // After the encoder's end no file comes any more.
            if (i % 3 == 2) {
                monitor.thread->encoderEnded();
                QVERIFY(monitor.thread->wait(30000));
            }
            monitor.thread.reset();
            fastestMs[i % 3] = std::min(fastestMs[i % 3], timer.elapsed());
            QVERIFY(!monitor.file.exists());
        }
        for (const qint64 ms : fastestMs)
            QVERIFY2(ms < kPollMs / 2, qPrintable(QString::number(ms)));
    }
};

QTEST_GUILESS_MAIN(ProgressThreadTest)
#include "progress_thread_test.moc"
