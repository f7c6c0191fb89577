#include "image/ToolProcess.h"

#include <QThread>

#include <utility>

#include "compressor/ICompressTask.h"
#include "image/DebugLine.h"
#include "image/Delivery.h"
#include "image/Platform.h"

ToolProcess::ToolProcess()
{
    setStandardOutputFile(nullDevice());
    setStandardErrorFile(nullDevice());
    Platform::dieWithParent(*this);
    connect(this, &QProcess::started, this, [this] { Platform::adoptStarted(*this); });
    connect(this, &QProcess::errorOccurred, this, &ToolProcess::reportFailedStart);
    // The first to be connected and so the first to be called.
    connect(this, &QProcess::finished, this, [this] {
        if (mPhase == Phase::Running)
            mPhase = Phase::Ended;
    });
}

ToolProcess::Pointer ToolProcess::makeFor(ICompressTask* task)
{
    Pointer process(new ToolProcess);
    connect(process.get(), SIGNAL(finished(int, QProcess::ExitStatus)), task,
            SLOT(onCompressFinished(int, QProcess::ExitStatus)));
    return process;
}

void ToolProcess::run(const QString& command, CleanUp cleanUp)
{
    mCleanUp = std::move(cleanUp);
    mPhase = Phase::Running;
    startCommand(command, QIODevice::ReadWrite);
}

void ToolProcess::reportFailedStart(ProcessError error)
{
    if (error != FailedToStart)
        return;
    mPhase = Phase::NotStarted;
    const auto report = [this] {
        if (mPhase == Phase::NotStarted)
            emit finished(kFailedToStart, NormalExit);
    };
    QMetaObject::invokeMethod(this, report, Qt::QueuedConnection);
}

bool ToolProcess::killAndWait()
{
    mStopRequested = true;
    kill();
    if (waitForFinished(kKillTimeoutMs))
        return true;
    debugLine() << "Can't kill mProcess";
    return false;
}

void ToolProcess::Release::operator()(ToolProcess* process) const
{
    process->disconnect();
    if (process->thread() == QThread::currentThread())
        process->abandon();
    else
        QMetaObject::invokeMethod(process, &ToolProcess::abandon, Qt::QueuedConnection);
}

void ToolProcess::abandon()
{
    if (state() != NotRunning)
        killAndWait();
    if (isUnsettled() && mCleanUp)
        mCleanUp(mayHaveOutput());
    if (mInSlot)
        deleteLater();
    else
        delete this;
}

ToolProcess::Ending::Ending(ToolProcess* process, int exitCode, ExitStatus exitStatus)
    : mProcess(process), mExitCode(exitCode), mExitStatus(exitStatus)
{
    const bool stopped = process && process->mStopRequested && !failedToStart();
    if (stopped || Platform::wasKilled(exitCode, exitStatus)) {
        mExitCode = kKilled;
        mExitStatus = CrashExit;
    }
    if (process)
        process->mInSlot = true;
}

ToolProcess::Ending::~Ending()
{
    settle();
    if (mProcess)
        mProcess->mInSlot = false;
}

void ToolProcess::Ending::distrustFullDisk(const QString& outputPath)
{
    if (mExitCode == 0 && isDiskFull(outputPath))
        mExitCode = kWriteError;
}

void ToolProcess::Ending::settle()
{
    if (mProcess)
        mProcess->mPhase = Phase::Settled;
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
    // A failed start that has not been told yet, or an encoder that won't die: for the host it ends here.
    if (previous && previous->mPhase == ToolProcess::Phase::NotStarted)
        emit previous->finished(ToolProcess::kFailedToStart, QProcess::NormalExit);
    else if (previous && previous->mPhase == ToolProcess::Phase::Running)
        emit previous->finished(ToolProcess::kKilled, QProcess::CrashExit);
    return guard && (!process || !process->isUnsettled());
}
