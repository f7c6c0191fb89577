#include "image/ToolProcess.h"

#include <QThread>
#include <QTimer>

#include <chrono>
#include <utility>

#include "compressor/FinishCode.h"
#include "compressor/ICompressTask.h"
#include "image/Delivery.h"
#include "image/DyingEncoders.h"
#include "log/DebugLine.h"
#include "process/ProcessTie.h"
#include "process/Programs.h"

namespace {

constexpr std::chrono::milliseconds kHeldOutputPoll{20};

} // namespace

ToolProcess::ToolProcess(ICompressTask* task) : mTask(task)
{
    setStandardOutputFile(nullDevice());
    setStandardErrorFile(nullDevice());
    if (!Platform::tieToHost(*this))
        debugLine() << "an encoder may outlive this process";
    // A kill that comes before the start's report cannot have left an output.
    connect(this, &QProcess::started, this, [this] { mStarted = !mStopRequested; });
    connect(this, &QProcess::errorOccurred, this, &ToolProcess::onErrorOccurred);
    // Connected before the task's slot, and so called before it.
    connect(this, &QProcess::finished, this, &ToolProcess::onEncoderEnded);
    connect(thread(), &QThread::finished, this, &ToolProcess::outliveThread, Qt::DirectConnection);
}

ToolProcess::Pointer ToolProcess::makeFor(ICompressTask* task)
{
    Pointer process(new ToolProcess(task));
    connect(process.get(), SIGNAL(finished(int, QProcess::ExitStatus)), task,
            SLOT(onCompressFinished(int, QProcess::ExitStatus)));
    return process;
}

void ToolProcess::run(Job job)
{
    mJob = std::move(job);
    mPhase = Phase::Pending;
    launch();
}

void ToolProcess::launch()
{
    if (mPhase != Phase::Pending || mTold || mLeft)
        return;
    if (!mJob.sharedOutput.isEmpty() && DyingEncoders::isHeld(mJob.sharedOutput)) {
        QTimer::singleShot(kHeldOutputPoll, this, &ToolProcess::launch);
        return;
    }
    mPhase = Phase::Running;
    if (!mJob.workingFolder.isEmpty())
        setWorkingDirectory(mJob.workingFolder);
    startCommand(mJob.command, QIODevice::ReadWrite);
}

void ToolProcess::refuse()
{
    tellLater(Phase::Pending, FinishCode::kRefused);
}

void ToolProcess::onErrorOccurred(ProcessError error)
{
    if (error != FailedToStart)
        return;
    if (mLeft)
        onEncoderEnded();
    else
        tellLater(Phase::NotStarted, FinishCode::kNotStarted);
}

void ToolProcess::tellLater(Phase phase, int exitCode)
{
    mPhase = phase;
    QMetaObject::invokeMethod(
        this, [this, exitCode] { tell(exitCode, NormalExit); }, Qt::QueuedConnection);
}

// The slot may let go of this object: nothing of it is touched behind the call.
void ToolProcess::tell(int exitCode, ExitStatus exitStatus)
{
    if (!mTold && !mLetGo && !mLeft) {
        QMetaObject::invokeMethod(mTask, "onCompressFinished", Qt::DirectConnection, Q_ARG(int, exitCode),
                                  Q_ARG(QProcess::ExitStatus, exitStatus));
    }
}

bool ToolProcess::isStoppable() const
{
    return !mTold && (mPhase == Phase::Pending || state() != NotRunning);
}

bool ToolProcess::killAndWait()
{
    if (killLater() || (state() != NotRunning && !mTold && waitForFinished(kKillTimeoutMs)))
        return true;
    // What could not be started needs no killing.
    if (mPhase != Phase::NotStarted && !mNeverRan)
        debugLine() << "Can't kill mProcess";
    return false;
}

// True: the end has been told inside, and this object may be gone.
bool ToolProcess::killLater()
{
    if (mPhase == Phase::Pending && !mTold) {
        tell(FinishCode::kStopped, CrashExit);
        return true;
    }
    if (isStoppable())
        requestKill();
    return false;
}

void ToolProcess::requestKill()
{
    // A program that the system could not start must not pass for one that was killed.
    if (state() == Starting)
        waitForStarted(kKillTimeoutMs);
    mStopRequested = true;
    mKillDeadline.setRemainingTime(kKillTimeoutMs);
    kill();
}

// The end of a run that has been stopped, for a host that cannot wait for it.
void ToolProcess::tellOverdueEnd()
{
    if (mPhase == Phase::NotStarted) {
        tell(FinishCode::kNotStarted, NormalExit);
        return;
    }
    const QPointer<ToolProcess> guard(this);
    if (state() != NotRunning && !mKillDeadline.hasExpired())
        waitForFinished(static_cast<int>(mKillDeadline.remainingTime()));
    if (guard)
        tell(FinishCode::kStopped, CrashExit);
}

void ToolProcess::onEncoderEnded()
{
    if (mPhase == Phase::Running)
        mPhase = Phase::Ended;
    if (mFilesLeft)
        mFilesLeft = !mJob.cleanUp(true);
    if (std::exchange(mHoldsOutput, false))
        DyingEncoders::let(mJob.sharedOutput);
    if (mLeft && mLetGo)
        deleteLater();
}

// The encoder may be alive: what it holds is removed when it has died, and nobody else writes there until
// then.
void ToolProcess::leaveFilesBehind()
{
    if (isUnsettled() && mJob.cleanUp)
        mFilesLeft = !mJob.cleanUp(mayHaveOutput()) && state() != NotRunning;
    mPhase = Phase::Settled;
    if (state() != NotRunning && !mJob.sharedOutput.isEmpty() && !std::exchange(mHoldsOutput, true))
        DyingEncoders::hold(mJob.sharedOutput);
}

void ToolProcess::Release::operator()(ToolProcess* process) const
{
    QObject::disconnect(process, nullptr, process->mTask, nullptr);
    // In a thread that has ended nothing is at work, and no event would come.
    const QThread* const home = process->thread();
    if (home && home != QThread::currentThread() && !home->isFinished())
        QMetaObject::invokeMethod(process, &ToolProcess::letGoAndDelete, Qt::QueuedConnection);
    else if (process->letGo())
        delete process;
}

// True: it is for the caller to delete. False: it lives on, and deletes itself.
bool ToolProcess::letGo()
{
    mLetGo = true;
    // Its Ending comes back here.
    if (mInSlot)
        return false;
    if (!mLeft && !mTold && state() != NotRunning) {
        requestKill();
        if (state() != NotRunning && !waitForFinished(kKillTimeoutMs))
            debugLine() << "Can't kill mProcess";
    }
    leaveFilesBehind();
    const bool hadLeft = std::exchange(mLeft, true);
    const bool isDying = state() != NotRunning;
    // It may be gone when this returns.
    if (isDying && !hadLeft)
        DyingEncoders::adopt(this);
    return !isDying;
}

// For where QProcess may be at work further up.
void ToolProcess::letGoAndDelete()
{
    if (letGo())
        deleteLater();
}

// A task's thread has come to its end with the task alive: that ends the run, and nobody waits for it here.
void ToolProcess::outliveThread()
{
    const bool isOver = state() == NotRunning && !isUnsettled();
    if (mLeft || isOver)
        return;
    if (state() != NotRunning)
        requestKill();
    leaveFilesBehind();
    mLeft = true;
    DyingEncoders::adopt(this);
}

ToolProcess::Ending::Ending(ToolProcess* process, int exitCode, ExitStatus exitStatus)
    : mProcess(process), mExitCode(exitCode), mExitStatus(exitStatus)
{
    if (process) {
        mRepeated = std::exchange(process->mTold, true);
        if (mRepeated)
            return;
        mHadEncoder = process->mPhase == Phase::Running || process->mPhase == Phase::Ended;
        process->mNeverRan = !mHadEncoder;
        process->mInSlot = true;
    }
    if (!mHadEncoder)
        return;
    if ((process && process->mStopRequested) || Programs::wasKilled(exitCode, exitStatus))
        spoil(FinishCode::kStopped, CrashExit);
    else if (Programs::hasCrashed(exitCode, exitStatus))
        mExitStatus = CrashExit;
}

ToolProcess::Ending::~Ending()
{
    if (mRepeated || !mProcess)
        return;
    settle();
    mProcess->mInSlot = false;
    if (mProcess->mLetGo)
        mProcess->letGoAndDelete();
}

void ToolProcess::Ending::distrustFullDisk(const QString& outputPath)
{
    if (mExitCode == FinishCode::kSuccess && mayBeCutByFullDisk(outputPath))
        mExitCode = FinishCode::kRefused;
}

void ToolProcess::Ending::spoil(int exitCode, QProcess::ExitStatus exitStatus)
{
    mExitCode = exitCode;
    mExitStatus = exitStatus;
}

void ToolProcess::Ending::settle()
{
    if (!mProcess)
        return;
    if (mProcess->state() == NotRunning)
        mProcess->mPhase = Phase::Settled;
    else
        mProcess->leaveFilesBehind();
}

void ToolProcess::Ending::log() const
{
    debugLine() << "onFinished:" << mExitCode << "," << mExitStatus;
}

bool endRunningJob(ICompressTask* task, const ToolProcess::Pointer& process)
{
    if (!process || !process->isUnsettled())
        return true;
    const QPointer<ICompressTask> guard(task);
    const QPointer<ToolProcess> previous(process.get());
    task->stop();
    // Still the task's own, and so still in this thread.
    if (guard && previous && previous == process.get() && previous->isUnsettled())
        previous->tellOverdueEnd();
    return guard && (!process || !process->isUnsettled());
}
