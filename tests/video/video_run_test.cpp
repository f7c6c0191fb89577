// The run of a video task, its cancel and its estimate, with a fake ffmpeg and a real, tiny source.
#include <QDir>
#include <QFileInfo>
#include <QScopeGuard>
#include <QTest>

#include <algorithm>
#include <thread>

#ifdef Q_OS_LINUX
#include <sys/mount.h>
#endif

#include "tests/support/FakeEncoder.h"
#include "tests/support/MessageCapture.h"
#include "tests/support/TaskProbe.h"
#include "tests/support/TestFolder.h"
#include "video/VideoCompressor.h"

using Finish = TaskProbe::Finish;

namespace {

constexpr int kKilled = 62097;
#ifdef Q_OS_WIN
constexpr int kAbortCode = 3;
#else
constexpr int kAbortCode = 6;
#endif
constexpr int kStartMarginMs = 200;
const auto kSuccess = Finish(0, QStringLiteral("successful"));
const auto kAborted = Finish(kKilled, QStringLiteral("Process Abort"));

// Two seconds of raw video, whose duration the file's size tells.
QByteArray source()
{
    QByteArray film("YUV4MPEG2 W16 H16 F25:1 Ip A1:1 C420jpeg\n");
    for (int frame = 0; frame < 50; ++frame)
        film += "FRAME\n" + QByteArray(16 * 16 * 3 / 2, 'g');
    return film;
}

QByteArray progressBlock(int milliseconds, const char* state = "continue")
{
    return "frame=1\\nout_time_us=" + QByteArray::number(milliseconds * 1000) + "\\nprogress=" + state +
           "\\n";
}

int stateOf(const TaskProbe& probe)
{
    return static_cast<const CompressTask*>(probe.task())->state();
}

} // namespace

class VideoRunTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void reportsProgressOnceUpToTheEnd();
    void tellsFailuresAndRemovesTheOutput_data();
    void tellsFailuresAndRemovesTheOutput();
    void aSourceThatCannotBeOpenedFails_data();
    void aSourceThatCannotBeOpenedFails();
    void stopLeavesNothing_data();
    void stopLeavesNothing();
    void stopWithoutARunTouchesNoFile();
    void neverWritesOrRemovesTheSource_data();
    void neverWritesOrRemovesTheSource();
    void aSecondStartEndsTheFirstRun_data();
    void aSecondStartEndsTheFirstRun();
    void mayBeReleasedAnywhere_data();
    void mayBeReleasedAnywhere();
    void mayBeReleasedInTheMonitorsThread();
    void aFullDiskIsAFailure();
    void mayBeStartedAgainInItsFinish();
    void aMissingEndMarkerHoldsNobodyUp();
    void estimateTellsProgressOfTheSample();
    void aHostThatBlocksTheMonitorCanStop();

private:
    QVariantMap params(const QString& output = QStringLiteral("out.mp4")) const;

    std::unique_ptr<TestFolder> mFolder;
    std::unique_ptr<FakeEncoder> mFake;
    std::unique_ptr<MessageCapture> mMessages;
    QString mInput;
    QString mOutput;
};

void VideoRunTest::init()
{
    mMessages = std::make_unique<MessageCapture>();
    mFolder = std::make_unique<TestFolder>();
    mFake = std::make_unique<FakeEncoder>();
    mInput = mFolder->write(QStringLiteral("a film.y4m"), source());
    mOutput = mFolder->path(QStringLiteral("out.mp4"));
}

// What holds after every run, however it ended.
void VideoRunTest::cleanup()
{
    QTRY_VERIFY(mFake->allGone());
    QTRY_COMPARE(mFolder->leftovers(), QStringList());
    QCOMPARE(TestFolder::read(mInput), source());
    mFake.reset();
    mFolder.reset();
    mMessages.reset();
}

QVariantMap VideoRunTest::params(const QString& output) const
{
    return {{QStringLiteral("inputPath"), mInput},
            {QStringLiteral("outputPath"), mFolder->path(output)},
            {QStringLiteral("quality"), 28}};
}

void VideoRunTest::reportsProgressOnceUpToTheEnd()
{
    mFake->progress(progressBlock(500) + "|@700|" + progressBlock(1000) + "|@700|" + progressBlock(2600) +
                    "|@700|" + progressBlock(2600, "end"));
    TaskProbe probe(params());
    QVERIFY(probe.run());
    QCOMPARE(probe.finish(), kSuccess);
    QCOMPARE(stateOf(probe), CompressTask::Succeeded);
    QVERIFY(QFileInfo::exists(mOutput));

    const QList<float> progress = probe.progress();
    QVERIFY(std::is_sorted(progress.begin(), progress.end()));
    QVERIFY2(progress.contains(0.25F) && progress.contains(0.5F), "the monitor's values are relayed");
    QCOMPARE(progress.last(), 1.0F);
    // Past the end is capped: nothing above 1.
    QCOMPARE(*std::max_element(progress.begin(), progress.end()), 1.0F);
    QCOMPARE(mMessages->debugLines(QStringLiteral("ffmpeg cmd: ")).size(), 1);
}

void VideoRunTest::tellsFailuresAndRemovesTheOutput_data()
{
    QTest::addColumn<QByteArray>("end");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::newRow("bad command") << QByteArray("exit") << 1
                                 << QStringLiteral(" Check the parameters please ");
    QTest::newRow("other code") << QByteArray("exit") << 2 << QStringLiteral("Unknown mistake");
    QTest::newRow("a plain 9 is no kill") << QByteArray("exit") << 9 << QStringLiteral("Unknown mistake");
    QTest::newRow("crash") << QByteArray("crash") << kAbortCode << QStringLiteral("Unknown mistake");
}

void VideoRunTest::tellsFailuresAndRemovesTheOutput()
{
    QFETCH(const QByteArray, end);
    QFETCH(const int, code);
    QFETCH(const QString, text);
    mFake->set("FAKE_END", end).exitWith(code).progress(progressBlock(100));
    mFolder->write(QStringLiteral("out.mp4"), "an older film");
    TaskProbe probe(params());
    QVERIFY(probe.run());
    QCOMPARE(probe.finish(), Finish(code, text));
    QCOMPARE(stateOf(probe), CompressTask::Failed);
    QVERIFY(!QFileInfo::exists(mOutput));
}

void VideoRunTest::aSourceThatCannotBeOpenedFails_data()
{
    QTest::addColumn<QString>("input");
    QTest::newRow("garbage") << QStringLiteral("garbage.mp4");
    QTest::newRow("missing") << QStringLiteral("missing.mp4");
    QTest::newRow("folder") << QStringLiteral(".");
}

void VideoRunTest::aSourceThatCannotBeOpenedFails()
{
    QFETCH(const QString, input);
    mFolder->write(QStringLiteral("garbage.mp4"), QByteArray(5000, 'g'));
    QVariantMap map = params();
    map[QStringLiteral("inputPath")] = mFolder->path(input);
    mFake->exitWith(1);
    TaskProbe probe(map);
    QVERIFY(probe.run());
    QCOMPARE(probe.finish(), Finish(1, QStringLiteral(" Check the parameters please ")));
    QCOMPARE(mFake->runs().value(0).arguments, QStringList());
}

void VideoRunTest::stopLeavesNothing_data()
{
    QTest::addColumn<QString>("moment");
    QTest::newRow("at once") << QStringLiteral("at once");
    QTest::newRow("before the output exists") << QStringLiteral("started");
    QTest::newRow("half way") << QStringLiteral("written");
    QTest::newRow("twice") << QStringLiteral("twice");
    QTest::newRow("after the encoder's unseen end") << QStringLiteral("ended");
}

void VideoRunTest::stopLeavesNothing()
{
    QFETCH(const QString, moment);
    const bool ended = moment == QLatin1String("ended");
    if (!ended)
        mFake->hang();
    mFake->progress(progressBlock(100)).delay(moment == QLatin1String("started") ? 60000 : 0);
    TaskProbe probe(params());
    QVERIFY(probe->start());
    if (moment == QLatin1String("started"))
        QTRY_COMPARE(mFake->runs().size(), 1);
    else if (ended)
        std::this_thread::sleep_for(std::chrono::milliseconds(kStartMarginMs * 3));
    else if (moment != QLatin1String("at once"))
        QTRY_COMPARE(mFake->writtenCount(), 1);
    probe->stop();
    QCOMPARE(probe.finishes(), QList<Finish>{kAborted});
    if (moment == QLatin1String("twice"))
        probe->stop();
    QVERIFY(probe.waitForFinishes(1));
    QVERIFY(!QFileInfo::exists(mOutput));
    QCOMPARE(stateOf(probe), CompressTask::Failed);
}

void VideoRunTest::stopWithoutARunTouchesNoFile()
{
    mFolder->write(QStringLiteral("out.mp4"), "an older film");
    TaskProbe probe(params());
    probe->stop();
    QVERIFY(QFileInfo::exists(mOutput));
    probe.onFinish([&probe] { probe->stop(); });
    QVERIFY(probe.run());
    probe->stop();
    QVERIFY(QFileInfo::exists(mOutput));
    QCOMPARE(probe.finishes(), QList<Finish>{kSuccess});
}

void VideoRunTest::neverWritesOrRemovesTheSource_data()
{
    QTest::addColumn<QString>("output");
    QTest::newRow("the same path") << QStringLiteral("a film.y4m");
    QTest::newRow("another spelling") << QStringLiteral("tmp/../a film.y4m");
#ifndef Q_OS_WIN
    QTest::newRow("symbolic link") << QStringLiteral("symbolic.y4m");
#endif
    QTest::newRow("hard link") << QStringLiteral("hard.y4m");
}

void VideoRunTest::neverWritesOrRemovesTheSource()
{
    QFETCH(const QString, output);
    QFile::link(mInput, mFolder->path(QStringLiteral("symbolic.y4m")));
    std::filesystem::create_hard_link(
        QFileInfo(mInput).filesystemFilePath(),
        QFileInfo(mFolder->path(QStringLiteral("hard.y4m"))).filesystemFilePath());
    mFake->write("none").exitWith(1);
    TaskProbe probe(params(output));
    QVERIFY(probe.run());
    const QStringList arguments = mFake->runs().value(0).arguments;
    QVERIFY2(arguments.contains(QLatin1String("-n")) && !arguments.contains(QLatin1String("-y")),
             "ffmpeg must be told not to overwrite");
    QVERIFY(QFileInfo::exists(mFolder->path(output)));
    mFake->hang();
    QVERIFY(probe->start());
    probe->stop();
    QVERIFY(QFileInfo::exists(mFolder->path(output)));
}

void VideoRunTest::aSecondStartEndsTheFirstRun_data()
{
    QTest::addColumn<bool>("estimate");
    QTest::newRow("start") << false;
    QTest::newRow("estimate") << true;
}

void VideoRunTest::aSecondStartEndsTheFirstRun()
{
    QFETCH(const bool, estimate);
    mFake->hang();
    TaskProbe probe(params());
    QVERIFY(estimate ? probe->estimate() : probe->start());
    QTRY_COMPARE(mFake->writtenCount(), 1);
    mFake->reset();
    QVERIFY(estimate ? probe->estimate() : probe->start());
    QCOMPARE(probe.finishes(), QList<Finish>{kAborted});
    QVERIFY(probe.waitForFinishes(2));
    QCOMPARE(probe.finish(), kSuccess);
    QVERIFY(QFileInfo::exists(mOutput));
}

void VideoRunTest::mayBeReleasedAnywhere_data()
{
    QTest::addColumn<QString>("place");
    for (const char* place : {"in the finish", "in the last progress", "in a queued progress",
                              "while running", "right after the start", "in the finish inside stop"})
        QTest::newRow(place) << QString::fromLatin1(place);
}

void VideoRunTest::mayBeReleasedAnywhere()
{
    QFETCH(const QString, place);
    TaskProbe probe(params());
    bool released = false;
    const auto release = [&] {
        probe.release();
        released = true;
    };
    if (place == QLatin1String("in the finish")) {
        probe.onFinish(release);
        QVERIFY(probe->start());
        QTRY_VERIFY(released);
        QVERIFY(QFileInfo::exists(mOutput));
        return;
    }
    if (place.contains(QLatin1String("progress"))) {
        const bool queued = place.contains(QLatin1String("queued"));
        if (queued)
            mFake->progress(progressBlock(500)).hang();
        connect(probe.task(), &ICompressTask::compressProcess, &probe, release);
        QVERIFY(queued ? probe->estimate() : probe->start());
        QTRY_VERIFY(released);
        QCOMPARE(QFileInfo::exists(mOutput), !queued);
        return;
    }
    mFake->hang();
    QVERIFY(probe->start());
    if (place != QLatin1String("right after the start"))
        QTRY_COMPARE(mFake->writtenCount(), 1);
    if (place == QLatin1String("in the finish inside stop")) {
        probe.onFinish(release);
        probe->stop();
        QVERIFY(released);
    } else {
        release();
        QCOMPARE(probe.finishes(), QList<Finish>());
    }
    QVERIFY(!QFileInfo::exists(mOutput));
}

void VideoRunTest::mayBeReleasedInTheMonitorsThread()
{
    mFake->progress(progressBlock(500)).hang();
    TaskProbe probe(params());
    std::atomic<bool> released = false;
    connect(
        probe.task(), &ICompressTask::compressProcess, probe.task(),
        [&] {
            probe.release();
            released = true;
        },
        Qt::DirectConnection);
    QVERIFY(probe->start());
    QTRY_VERIFY(released);
    QTRY_VERIFY(!QFileInfo::exists(mOutput));
    QCOMPARE(probe.finishes(), QList<Finish>());
}

void VideoRunTest::mayBeStartedAgainInItsFinish()
{
    TaskProbe probe(params());
    probe.onFinish([&probe] { probe->start(); });
    QVERIFY(probe->start());
    QVERIFY(probe.waitForFinishes(2));
    QCOMPARE(probe.finishes(), (QList<Finish>{kSuccess, kSuccess}));
    QVERIFY(QFileInfo::exists(mOutput));
}

void VideoRunTest::aMissingEndMarkerHoldsNobodyUp()
{
    mFake->progress(progressBlock(500));
    TaskProbe probe(params());
    QVERIFY(probe.run());
    QVERIFY(probe.run());
    const qsizetype told = probe.progress().size();
    QTest::qWait(kStartMarginMs * 3);
    QCOMPARE(probe.progress().size(), told);
    QElapsedTimer timer;
    timer.start();
    probe.release();
    QVERIFY2(timer.elapsed() < qint64{ProgressThread::kStopTimeoutMs},
             "the release waited for a monitor that polls");
}

void VideoRunTest::estimateTellsProgressOfTheSample()
{
    mFake->progress(progressBlock(7500) + "|@700|" + progressBlock(15000, "end"));
    TaskProbe probe(params());
    QThread* progressThread = nullptr;
    connect(
        probe.task(), &ICompressTask::compressProcess, &probe,
        [&] { progressThread = QThread::currentThread(); }, Qt::DirectConnection);
    QVERIFY(probe->estimate());
    QVERIFY(probe.waitForFinishes(1));
    QCOMPARE(probe.finish(), kSuccess);
    QVERIFY(probe.progress().contains(0.5F));
    QCOMPARE(probe.progress().last(), 1.0F);
    QCOMPARE(progressThread, QThread::currentThread());
    QVERIFY(mFake->runs().value(0).arguments.contains(QLatin1String("15")));
    QVERIFY(QFileInfo::exists(mOutput));
}

// ffmpeg ends with 0 when only its last writes failed.
void VideoRunTest::aFullDiskIsAFailure()
{
#ifdef Q_OS_LINUX
    const QString disk = mFolder->path(QStringLiteral("small disk"));
    QDir().mkpath(disk);
    if (mount("tmpfs", QFile::encodeName(disk).constData(), "tmpfs", 0, "size=8k") != 0)
        QSKIP("mounting a small disk is not allowed here");
    const auto unmount = qScopeGuard([&] { umount(QFile::encodeName(disk).constData()); });
    TaskProbe probe(params(QStringLiteral("small disk/out.mp4")));
    QVERIFY(probe.run());
    QCOMPARE(probe.finish(), Finish(1, QStringLiteral(" Check the parameters please ")));
    QCOMPARE(QDir(disk).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList());
#endif
}

// A host's window may be waiting for the task while the monitor waits for the window.
void VideoRunTest::aHostThatBlocksTheMonitorCanStop()
{
    mFake->progress(progressBlock(500)).hang();
    TaskProbe probe(params());
    std::atomic<bool> waiting = false;
    connect(
        probe.task(), &ICompressTask::compressProcess, probe.task(), [&] { waiting = true; },
        Qt::DirectConnection);
    connect(
        probe.task(), &ICompressTask::compressProcess, this, [] {}, Qt::BlockingQueuedConnection);
    QVERIFY(probe->start());
    while (!waiting)
        std::this_thread::yield();
    probe->stop();
    QCOMPARE(probe.finishes(), QList<Finish>{kAborted});
    probe.release();
}

QTEST_GUILESS_MAIN(VideoRunTest)
#include "video_run_test.moc"
