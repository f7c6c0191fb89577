#include "host/run/Batch.h"

#include <QCoreApplication>
#include <QElapsedTimer>

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

// Reports the end. Returns the program's status.
int finish(JobEvents& events, RunSummary summary, const QElapsedTimer& clock)
{
    summary.elapsedMs = clock.elapsed();
    summary.signal = Platform::Interrupts::first();
    if (summary.signal)
        summary.status = kInterruptedBase + summary.signal;
    events.finished(summary);
    return summary.status;
}

} // namespace

int runBatch(const Options& options, JobEvents& events)
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
                finish(events, running->summary(), clock);
            Platform::leave(kInterruptedBase + Platform::Interrupts::first());
        }
        if (running)
            running->stop();
    });

    const QString place = Platform::temporaryFolder();
    temporary.emplace(place, PrivateFolder::kTemporary);
    if (!temporary->isValid()) {
        events.refused(
            u"no temporary folder can be made in %1: %2"_s.arg(shown(place), temporary->errorString()));
        return kUsage;
    }
    PrivateFolder::sweep(place, PrivateFolder::kTemporary);
    // Before there is another thread: the module asks the system for the place when it needs it.
    Platform::setTemporaryFolder(temporary->path());
    TaskThread tasks(options.nice);
    const auto makeRun = [&tasks](const EncodeRequest& request) {
        return std::make_unique<ModuleRun>(tasks, request);
    };
    const JobContext context{options,    events,  makeRun,
                             *temporary, staging, [] { return Platform::Interrupts::first() != 0; }};

    Plan plan(options, *temporary);
    const QStringList errors = plan.make();
    if (const int signal = Platform::Interrupts::first())
        return kInterruptedBase + signal;
    for (const QString& error : errors)
        events.refused(error);
    if (!errors.isEmpty())
        return kUsage;
    events.planned(plan.files(), plan.bytes());
    Scheduler scheduler(context, plan);
    QObject::connect(
        &scheduler, &Scheduler::done, &scheduler, [] { QCoreApplication::quit(); }, Qt::QueuedConnection);
    running = &scheduler;
    QMetaObject::invokeMethod(&scheduler, &Scheduler::start, Qt::QueuedConnection);
    QCoreApplication::exec();
    running = nullptr;
    return finish(events, scheduler.summary(), clock);
}
