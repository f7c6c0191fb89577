// Many threads with tasks of every kind, which do at any moment what a host may do with a task: for 2
// seconds, or as many as VXC_STRESS_SECONDS says.
#include <QDeadlineTimer>
#include <QRandomGenerator>
#include <QThread>

#include <atomic>
#include <chrono>
#include <latch>
#include <mutex>
#include <vector>

#include "compressor/CompressorEntry.h"
#include "tests/support/TaskTest.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kThreads = 16;

enum Deed
{
    RunToEnd,
    Stop,
    StopTwice,
    StartAgain,
    Release,
    ReleaseInSlot,
    StopInSlot,
    StartInSlot,
    DeedCount
};

} // namespace

class TaskStressTest : public TaskTest
{
    Q_OBJECT

    std::latch mAllReady{kThreads};
    std::atomic<ICompressor*> mCompressor = nullptr;
    std::atomic<int> mRuns[KindCount][DeedCount] = {};
    std::mutex mMutex;
    QStringList mFaults; ///< guarded by mMutex

    void expect(bool holds, const char* what, const Kind& kind, int deed)
    {
        if (holds)
            return;
        const std::lock_guard lock(mMutex);
        mFaults.append(u"%1, deed %2: %3"_s.arg(QLatin1String(kind.name)).arg(deed).arg(QLatin1String(what)));
    }

    static bool waitFor(const TaskProbe& probe, qsizetype count)
    {
        return QTest::qWaitFor([&] { return probe.finishes.size() >= count; }, 60000);
    }

    // Whatever the moment finds: an encoder that is not there yet, at work, or gone.
    static void wait(QRandomGenerator& random)
    {
        if (random.bounded(4) > 0)
            QTest::qWait(random.bounded(60));
    }

    void perform(TaskProbe& probe, const Kind& kind, Deed deed, QRandomGenerator& random)
    {
        int runs = 0;
        const auto begin = [&] {
            ++runs;
            expect(probe.begin(), "it begins", kind, deed);
        };
        if (deed == ReleaseInSlot)
            probe.onFinish = [&] { probe.task.reset(); };
        else if (deed == StopInSlot)
            probe.onFinish = [&] { probe.task->stop(); };
        else if (deed == StartInSlot)
            probe.onFinish = begin;
        begin();
        if (deed != RunToEnd)
            wait(random);
        if (deed == StartAgain)
            begin();
        if (deed == Stop || deed == StopTwice || (deed >= ReleaseInSlot && random.bounded(2) > 0)) {
            if (const auto task = probe.task)
                task->stop();
        }
        if (deed == StopTwice)
            probe.task->stop();
        if (deed == Release) {
            const qsizetype told = probe.finishes.size();
            probe.task.reset();
            QTest::qWait(random.bounded(20));
            expect(probe.finishes.size() == told && told <= 1, "nothing is told behind a release", kind,
                   deed);
            return;
        }
        expect(waitFor(probe, deed == StartInSlot ? 2 : runs), "it ends", kind, deed);
        QTest::qWait(random.bounded(10));
        expect(probe.finishes.size() == runs, "a run has one end", kind, deed);
        for (const Finish& finish : std::as_const(probe.finishes))
            expect(finish == kind.told(0) || finish == kind.told(FinishCode::kStopped) ||
                       (!kind.isDirect && finish.first == 2),
                   qPrintable(u"ends as %1 %2"_s.arg(finish.first).arg(finish.second)), kind, deed);
    }

    void work(int number, const QDeadlineTimer& end)
    {
        QRandomGenerator random(static_cast<quint32>(number));
        mAllReady.arrive_and_wait();
        ICompressor* const compressor = CompressorEntry();
        ICompressor* first = nullptr;
        expect(mCompressor.compare_exchange_strong(first, compressor) || first == compressor,
               "there is one compressor", kKinds[0], -1);
        for (int round = number; !end.hasExpired(); ++round) {
            const Kind& kind = kKinds[round % KindCount];
            const auto deed = static_cast<Deed>(random.bounded(DeedCount));
            const QString suffix = u'.' + QLatin1String(kind.suffix);
            const QString output = folder->path(u"out %1"_s.arg(number) + suffix);
            TaskProbe probe(kind, folder->path(u"a source"_s + suffix), output);
            perform(probe, kind, deed, random);
            if (deed == RunToEnd)
                expect(TestFolder::read(output) == kResult, "a result is whole", kind, deed);
            ++mRuns[round % KindCount][deed];
        }
    }

private slots:
    void everythingAtOnce()
    {
        bool isSet = false;
        const int seconds = qEnvironmentVariableIntValue("VXC_STRESS_SECONDS", &isSet);
        fake->delay(20).set("FAKE_PROGRESS", "out_time_us=500000\n|10|out_time_us=1000000\nprogress=end\n");
        const QDeadlineTimer end(std::chrono::seconds(isSet ? seconds : 2));
        std::vector<std::unique_ptr<QThread>> threads;
        for (int number = 0; number < kThreads; ++number) {
            threads.emplace_back(QThread::create([this, number, end] { work(number, end); }));
            threads.back()->start();
        }
        for (const auto& thread : threads)
            thread->wait();
        int runs = 0;
        for (int kind = 0; kind < KindCount; ++kind) {
            for (const auto& count : mRuns[kind])
                runs += count;
        }
        qInfo("%d tasks", runs);
        QVERIFY(runs >= kThreads);
        QVERIFY2(mFaults.isEmpty(), qPrintable(mFaults.join(u"\n"_s)));
    }
};

QTEST_GUILESS_MAIN(TaskStressTest)
#include "task_stress_test.moc"
