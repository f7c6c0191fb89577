#include "host/run/Job.h"

#include "host/system/NativePath.h"

Job::Job(const JobContext& context, const JobSpec& spec)
    : mState(context, spec), mDeliver(mState), mLook(mState)
{
    mTimeout.setSingleShot(true);
    connect(&mTimeout, &QTimer::timeout, this, [this] { stop(FailureKind::TimedOut); });
    // What is delivered is delivered: a stop comes too late for it.
    connect(&mDeliver, &Deliver::ended, this, &Job::onDelivered);
}

void Job::start()
{
    mClock.start();
    if (isStopped())
        return;
    JobFiles& files = mState.files;
    Failure failure = files.begin();
    mState.result.bytesBefore = files.source().bytes;
    if (!failure)
        failure = mDeliver.prepare();
    if (!failure)
        failure = files.reach(mDeliver.stagedPath());
    if (failure)
        return fail(failure);
    // A damaged result is somebody's last copy of a damaged source at best: it replaces nothing.
    mState.mayTakeDamaged =
        mState.context.options.keepDamaged && !mState.result.spec.isInPlace && !mDeliver.replacesFile();
    run(mLook, &Job::encode);
}

// Starts a stage, and goes on with `next` once it has ended well.
void Job::run(Stage& stage, void (Job::*next)())
{
    connect(&stage, &Stage::ended, this, [this, next](const Failure& failure) {
        if (isStopped())
            return;
        if (failure)
            return fail(failure);
        (this->*next)();
    });
    stage.start();
}

void Job::encode()
{
    const QString suffix = NativePath::suffix(mState.files.sourcePath());
    if (const Failure failure = mState.files.setSourceSuffix(trueSuffix(mState.source, suffix)))
        return fail(failure);
    const JobContext& context = mState.context;
    if (mState.sourceVideo.lengthMs > 0)
        context.events.measured(mState.result.spec, mState.sourceVideo.lengthMs);
    mEncode = std::make_unique<Encode>(mState);
    connect(mEncode.get(), &Encode::progressed, this, &Job::onProgress);
    if (context.options.timeoutSecs > 0)
        mTimeout.start(std::chrono::seconds(context.options.timeoutSecs));
    run(*mEncode, &Job::onEncoded);
}

void Job::onProgress(double share)
{
    if (share <= mShare || mHasEnded)
        return;
    mShare = qMin(share, 1.0);
    mState.context.events.progressed(mState.result.spec, mShare);
}

void Job::onEncoded()
{
    if (mState.result.estimate)
        return end(Outcome::Estimated);
    mCheck = std::make_unique<Check>(mState);
    run(*mCheck, &Job::deliver);
}

void Job::deliver()
{
    mTimeout.stop();
    mDeliver.start();
}

void Job::onDelivered(const Failure& failure)
{
    if (failure)
        return fail(failure);
    end(mState.result.outcome);
}

void Job::stop(FailureKind reason)
{
    if (mState.stopReason != FailureKind::None || mHasEnded)
        return;
    mState.stopReason = reason;
    // What looks at files ends with the job, and this must not come inside the caller's loop.
    if (mEncode && !mCheck)
        mEncode->stop();
    else
        QMetaObject::invokeMethod(this, &Job::isStopped, Qt::QueuedConnection);
}

// Also where nobody has told the job yet: an encoder on the same terminal has got the same Ctrl-C, and may
// have ended first, in whatever way.
bool Job::isStopped()
{
    if (mState.stopReason == FailureKind::None && mState.context.isEnding())
        mState.stopReason = FailureKind::Interrupted;
    if (mState.stopReason == FailureKind::None)
        return false;
    fail({mState.stopReason});
    return true;
}

void Job::fail(const Failure& failure)
{
    JobResult& result = mState.result;
    // Another run has delivered it since this one was planned.
    if (failure.kind == FailureKind::OutputExists && mState.context.options.skipExisting) {
        result.warnings.clear();
        return end(Outcome::Skipped);
    }
    result.failure = failure;
    mState.files.noteFullDisk(result.failure);
    end(Outcome::Failed);
}

void Job::end(Outcome outcome)
{
    if (std::exchange(mHasEnded, true))
        return;
    JobResult& result = mState.result;
    // A source that stays has lost nothing.
    if (outcome == Outcome::Delivered || outcome == Outcome::Predicted)
        result.warnings += mState.losses;
    mTimeout.stop();
    result.outcome = outcome;
    result.elapsedMs = mClock.elapsed();
    emit ended(result);
}
