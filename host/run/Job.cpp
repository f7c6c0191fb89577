#include "host/run/Job.h"

#include "host/system/NativePath.h"

Job::Job(const JobContext& context, const JobSpec& spec)
    : mContext(context), mFiles(spec, context.temporaryFolder), mDeliver(context, mFiles)
{
    mResult.spec = spec;
    mTimeout.setSingleShot(true);
    connect(&mTimeout, &QTimer::timeout, this, [this] { stop(FailureKind::TimedOut); });
    connect(&mDeliver, &Deliver::ended, this, &Job::onDelivered);
}

void Job::start()
{
    mClock.start();
    if (isStopped())
        return;
    Failure failure = mFiles.begin();
    mResult.bytesBefore = mFiles.source().bytes;
    if (!failure)
        failure = mDeliver.prepare();
    if (!failure)
        failure = mFiles.reach(mDeliver.stagedPath());
    if (failure)
        return fail(failure);
    // A damaged result is somebody's last copy of a damaged source at best: it replaces nothing.
    mMayTakeDamaged = mContext.options.keepDamaged && !spec().isInPlace && !mDeliver.replacesFile();
    mLook = std::make_unique<Look>(mContext.options, mFiles, mMayTakeDamaged);
    connect(mLook.get(), &Look::ended, this, &Job::onLooked);
    mLook->start();
}

void Job::onLooked(const LookResult& result)
{
    mSource = result;
    mResult.warnings += result.warnings;
    if (isStopped())
        return;
    if (result.failure)
        return fail(result.failure);
    const QString suffix = NativePath::suffix(mFiles.sourcePath());
    if (const Failure failure = mFiles.setSourceSuffix(trueSuffix(result.facts, suffix)))
        return fail(failure);
    if (result.video.lengthMs > 0) {
        mResult.videoMs = result.video.lengthMs;
        mContext.events.measured(spec(), mResult.videoMs);
    }
    mEncode = std::make_unique<Encode>(mContext, mFiles);
    connect(mEncode.get(), &Encode::ended, this, &Job::onEncoded);
    connect(mEncode.get(), &Encode::progressed, this, &Job::onProgress);
    if (mContext.options.timeoutSecs > 0)
        mTimeout.start(std::chrono::seconds(mContext.options.timeoutSecs));
    mEncode->start();
}

void Job::onProgress(double share)
{
    if (share <= mShare || mHasEnded)
        return;
    mShare = qMin(share, 1.0);
    mContext.events.progressed(spec(), mShare);
}

void Job::onEncoded(const EncodeResult& result)
{
    static_cast<EncodeResult&>(mResult) = result;
    if (isStopped())
        return;
    if (result.failure)
        return fail(result.failure);
    if (result.estimate)
        return end(Outcome::Estimated);
    mCheck = std::make_unique<Check>(mContext.options, mFiles, mSource, mMayTakeDamaged);
    connect(mCheck.get(), &Check::ended, this, &Job::onChecked);
    mCheck->start();
}

void Job::onChecked(const CheckResult& result)
{
    mTimeout.stop();
    mResult.bytesMade = result.bytesMade;
    if (isStopped())
        return;
    if (result.failure)
        return fail(result.failure);
    mLosses = result.losses;
    mDeliver.start(result);
}

void Job::onDelivered(const DeliverResult& result)
{
    mResult.keptAt = result.keptAt;
    if (result.failure)
        return fail(result.failure);
    mResult.bytesAfter = result.bytesAfter;
    if (result.outcome == Outcome::Estimated)
        mResult.estimate = SizeRange{result.bytesAfter, result.bytesAfter};
    end(result.outcome);
}

void Job::stop(FailureKind reason)
{
    if (mStopReason != FailureKind::None || mHasEnded)
        return;
    mStopReason = reason;
    mDeliver.stop();
    // What looks at files ends with the job, and this must not come inside the caller's loop.
    if (mEncode && !mCheck)
        mEncode->stop();
    else if (mLook)
        QMetaObject::invokeMethod(this, &Job::isStopped, Qt::QueuedConnection);
}

// Also where nobody has told the job yet: an encoder on the same terminal has got the same Ctrl-C, and may
// have ended first, in whatever way.
bool Job::isStopped()
{
    if (mStopReason == FailureKind::None && mContext.isEnding())
        mStopReason = FailureKind::Interrupted;
    if (mStopReason == FailureKind::None)
        return false;
    fail({mStopReason});
    return true;
}

void Job::fail(const Failure& failure)
{
    // Another run has delivered it since this one was planned.
    if (failure.kind == FailureKind::OutputExists && mContext.options.skipExisting) {
        mResult.warnings.clear();
        return end(Outcome::Skipped);
    }
    mResult.failure = failure;
    mFiles.noteFullDisk(mResult.failure);
    end(Outcome::Failed);
}

void Job::end(Outcome outcome)
{
    if (std::exchange(mHasEnded, true))
        return;
    // A source that stays has lost nothing.
    if (outcome == Outcome::Delivered || outcome == Outcome::Predicted)
        mResult.warnings += mLosses;
    mTimeout.stop();
    mResult.outcome = outcome;
    mResult.elapsedMs = mClock.elapsed();
    emit ended(mResult);
}
