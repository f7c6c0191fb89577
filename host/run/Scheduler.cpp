#include "host/run/Scheduler.h"

#include <QThread>

#include <algorithm>

#include "host/job/ExitStatus.h"
#include "host/system/NativePath.h"

namespace {

// How many inputs ahead images are looked for while a video waits.
constexpr size_t kLookAhead = 64;
// How many results may wait for an earlier input's before no further job begins.
constexpr size_t kMaxWaiting = 10000;
// How many inputs are begun before the event loop turns.
constexpr int kAtOnce = 256;

} // namespace

Scheduler::Scheduler(const JobContext& context, Plan& plan)
    : mContext(context), mPlan(plan), mSlots(QThread::idealThreadCount(), context.options.jobs)
{
    mSummary.files = plan.files();
    mSummary.ignored = plan.ignored();
}

void Scheduler::stop()
{
    if (std::exchange(mIsStopping, true))
        return;
    mQueue.clear();
    mPlanIsDone = true;
    mContext.events.stopping(int(mRunning.size()));
    for (const auto& [index, job] : mRunning)
        job->stop();
    reportWaiting();
    startLater();
}

void Scheduler::start()
{
    mIsStartPosted = false;
    for (int begun = 0; begun < kAtOnce; ++begun) {
        if (!startNext()) {
            if (mRunning.empty() && mQueue.empty() && mPlanIsDone)
                emit done();
            return;
        }
    }
    startLater();
}

void Scheduler::startLater()
{
    if (!std::exchange(mIsStartPosted, true))
        QMetaObject::invokeMethod(this, &Scheduler::start, Qt::QueuedConnection);
}

// False when nothing more can be begun now.
bool Scheduler::startNext()
{
    if (mWaiting.size() >= kMaxWaiting)
        return false;
    while (!mPlanIsDone && mQueue.size() < kLookAhead) {
        if (auto job = mPlan.next())
            mQueue.push_back(std::move(*job));
        else
            mPlanIsDone = true;
    }
    const auto fits = [this](const PlannedJob& job) {
        return job.failure || job.isExcess || mSlots.hasRoomFor(job.spec.format->isVideo());
    };
    auto next = mQueue.begin();
    if (next != mQueue.end() && !fits(*next))
        next = mSlots.mayOvertake() ? std::find_if(next, mQueue.end(), fits) : mQueue.end();
    if (next == mQueue.end())
        return false;
    const PlannedJob job = std::move(*next);
    mQueue.erase(next);
    if (!job.failure && !job.isExcess) {
        run(job.spec);
        return true;
    }
    // No job of this run may open that folder, and yet a killed run may have left something there.
    if (job.isExcess)
        mContext.stagingFolders.sweep(NativePath::folder(NativePath::absolute(job.spec.outputPath)));
    JobResult result;
    result.spec = job.spec;
    result.bytesBefore = job.spec.inputBytes;
    result.failure = job.failure;
    result.outcome = job.failure ? Outcome::Failed : Outcome::Skipped;
    settle(result);
    return true;
}

void Scheduler::run(const JobSpec& spec)
{
    mSlots.take(spec.format->isVideo());
    auto made = std::make_unique<Job>(mContext, spec);
    Job* const job = made.get();
    mRunning.emplace(spec.index, std::move(made));
    connect(job, &Job::ended, this, [this, job](const JobResult& result) { onEnded(job, result); });
    mContext.events.started(spec);
    job->start();
}

void Scheduler::onEnded(Job* job, const JobResult& result)
{
    mSlots.free(result.spec.format->isVideo());
    const auto found = mRunning.find(result.spec.index);
    // It is still inside its own signal.
    found->second.release()->deleteLater();
    mRunning.erase(found);
    job->disconnect(this);
    settle(result);
    startLater();
}

void Scheduler::settle(const JobResult& result)
{
    mContext.events.settled(result);
    count(result);
    mWaiting.emplace(result.spec.index, result);
    reportWaiting();
}

void Scheduler::reportWaiting()
{
    // Once the run is being ended, inputs before it may never have begun.
    for (auto first = mWaiting.begin();
         first != mWaiting.end() && (first->first == mNextToReport || mIsStopping);
         first = mWaiting.begin()) {
        mContext.events.ended(first->second);
        mNextToReport = first->first + 1;
        mWaiting.erase(first);
    }
}

void Scheduler::count(const JobResult& result)
{
    const FailureKind kind = result.failure.kind;
    if (result.outcome == Outcome::Failed) {
        ++mSummary.failed;
        if (kind == FailureKind::EncoderMissing || kind == FailureKind::LibraryMissing)
            mSummary.status = kEncoderMissing;
        else if (mSummary.status == kDelivered)
            mSummary.status = mSummary.files == 1 && isBeforeBegin(kind) ? kUsage : kJobFailed;
        return;
    }
    if (result.outcome == Outcome::Skipped) {
        ++mSummary.skipped;
        return;
    }
    const bool isKept = result.outcome == Outcome::Kept || result.outcome == Outcome::NotWorth;
    ++(isKept ? mSummary.kept : mSummary.delivered);
    mSummary.bytesBefore += result.bytesBefore;
    if (result.outcome == Outcome::Estimated) {
        const SizeRange sum = mSummary.estimate.value_or(SizeRange());
        mSummary.estimate = {sum.low + result.estimate->low, sum.high + result.estimate->high};
    } else {
        mSummary.bytesAfter += isKept ? result.bytesBefore : result.bytesAfter;
    }
}
