#include "host/run/BatchRun.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include "host/job/ExitStatus.h"
#include "host/module/TaskThread.h"
#include "host/plan/Plan.h"
#include "host/run/Scheduler.h"
#include "host/system/PathText.h"
#include "host/system/Platform.h"

using namespace Qt::StringLiterals;

namespace {

// What a shell makes of a program that a signal has ended.
constexpr int kInterruptedBase = 128;

int statusOf(const Scheduler& scheduler)
{
    if (const int signal = Platform::Interrupts::first())
        return kInterruptedBase + signal;
    if (scheduler.hasMissed())
        return kEncoderMissing;
    if (scheduler.isRefused())
        return kUsage;
    return scheduler.summary().failed > 0 ? kJobFailed : kDelivered;
}

} // namespace

int BatchRun::exec()
{
    QElapsedTimer clock;
    clock.start();
    std::optional<PrivateFolder> temporary;
    StagingFolders staging;
    Scheduler* running = nullptr;
    const Platform::Interrupts interrupts([&] {
        if (Platform::Interrupts::count() > 1) {
            // The encoders end with this process.
            staging.removeAll();
            temporary->remove();
            if (running)
                finish(*running, clock.elapsed());
            Platform::leave(kInterruptedBase + Platform::Interrupts::first());
        }
        if (running)
            running->stop();
    });

    const QString place = Platform::temporaryFolder();
    temporary.emplace(place, PrivateFolder::kTemporary);
    if (!temporary->isValid()) {
        mEvents.refused(u"no temporary folder in %1: %2"_s.arg(shown(place), temporary->errorString()));
        return kUsage;
    }
    PrivateFolder::sweep(place, PrivateFolder::kTemporary);
    // Before there is another thread: the module asks the system for the place when it needs it.
    Platform::setTemporaryFolder(temporary->path());
    TaskThread tasks(mOptions.nice);
    const auto makeRun = [&tasks](const EncodeRequest& request) {
        return std::make_unique<ModuleRun>(tasks, request);
    };
    const JobContext context{mOptions, makeRun, *temporary, staging,
                             [] { return Platform::Interrupts::first() != 0; }};

    Plan plan(mOptions, *temporary);
    const QStringList errors = plan.make();
    if (const int signal = Platform::Interrupts::first())
        return kInterruptedBase + signal;
    if (!errors.isEmpty()) {
        for (const QString& error : errors)
            mEvents.refused(error);
        return kUsage;
    }
    mEvents.planned(plan.files(), plan.bytes());
    Scheduler scheduler(context, plan, mEvents, Slots(QThread::idealThreadCount(), mOptions.jobs));
    QObject::connect(
        &scheduler, &Scheduler::done, &scheduler, [] { QCoreApplication::quit(); }, Qt::QueuedConnection);
    running = &scheduler;
    QMetaObject::invokeMethod(&scheduler, &Scheduler::start, Qt::QueuedConnection);
    QCoreApplication::exec();
    running = nullptr;

    return finish(scheduler, clock.elapsed());
}

// Tells the end. Returns the program's status.
int BatchRun::finish(const Scheduler& scheduler, qint64 elapsedMs)
{
    RunSummary summary = scheduler.summary();
    summary.elapsedMs = elapsedMs;
    summary.signal = Platform::Interrupts::first();
    summary.status = statusOf(scheduler);
    mEvents.finished(summary);
    return summary.status;
}
