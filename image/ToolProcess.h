#pragma once

#include <QPointer>
#include <QProcess>

#include <functional>
#include <memory>

class ICompressTask;

/// One run of an external encoder. It adds to QProcess what every task needs:
///
///  - `finished` comes exactly once for a run, also when the program cannot be started: then with the code
///    kFailedToStart, and not before the event loop turns;
///  - the encoder ends when this process or this object does, without a signal of a half-destroyed task;
///  - its output and error channels go nowhere, so that a talkative encoder costs the host no memory.
///
/// A task connects `finished` to its slot and opens the slot with an Ending.
class ToolProcess : public QProcess
{
    Q_OBJECT

public:
    /// The exit code that every platform reports for a run that was killed or stopped; Windows' own value.
    static constexpr int kKilled = 62097;
    /// The exit code of a run whose program could not be started.
    static constexpr int kFailedToStart = -2;
    /// ffmpeg's exit code when it cannot write its output, among others.
    static constexpr int kWriteError = 1;
    /// How long a killed encoder is waited for.
    static constexpr int kKillTimeoutMs = 500;

    /// Removes what a run left behind. `mayHaveOutput` tells whether its encoder got as far as to start.
    using CleanUp = std::function<void(bool mayHaveOutput)>;

    /// Lets go of a process: ends its run silently, with the clean-up where nobody has judged it yet, and
    /// deletes it. That happens later when it is in the middle of its signal or when this is not its thread.
    struct Release
    {
        void operator()(ToolProcess* process) const;
    };
    using Pointer = std::unique_ptr<ToolProcess, Release>;

    /// A process whose `finished(int, QProcess::ExitStatus)` leads to the task's slot
    /// `onCompressFinished(int, QProcess::ExitStatus)`.
    static Pointer makeFor(ICompressTask* task);

    /// Hands the command to the system. The clean-up is for a run that is let go before its end; a task's
    /// finish slot does its own.
    void run(const QString& command, CleanUp cleanUp);

    /// From run() until an Ending is settled.
    bool isUnsettled() const { return mPhase != Phase::Settled; }
    /// The same for an encoder that did start: what lies at the output path may be this run's.
    bool mayHaveOutput() const { return mPhase == Phase::Running || mPhase == Phase::Ended; }

    /// Kills the encoder and waits for its end, at most kKillTimeoutMs. The run counts as stopped from now
    /// on, even when the encoder had just come to its own end. Where the wait sees the end, `finished` is
    /// emitted inside. False, and a line in the debug log, when there was nothing to wait for or the time ran
    /// out.
    bool killAndWait();

    /// What a task's finish slot opens with: the run's end as the module reports it, and a hold on the
    /// process for as long as the slot runs, so that the host may release the task or start it again from its
    /// own slot.
    class Ending
    {
    public:
        /// `process` may be null: an end without a run.
        Ending(ToolProcess* process, int exitCode, QProcess::ExitStatus exitStatus);
        ~Ending();
        Q_DISABLE_COPY_MOVE(Ending)

        int exitCode() const { return mExitCode; }
        QProcess::ExitStatus exitStatus() const { return mExitStatus; }
        bool failedToStart() const { return mExitCode == kFailedToStart; }
        /// The encoder was neither stopped nor killed nor did it crash: what it wrote is as it meant it.
        bool isWhole() const { return mExitStatus == QProcess::NormalExit && !failedToStart(); }
        /// For an encoder that writes the output path itself: ffmpeg up to 6.0 ends with 0 when only its last
        /// writes failed. A success on a full disk becomes kWriteError.
        void distrustFullDisk(const QString& outputPath);
        /// The run has no files left to judge or remove. To be called before the task tells the host.
        void settle();
        /// Writes the image tasks' line on the end to the debug log.
        void log() const;

    private:
        QPointer<ToolProcess> mProcess;
        int mExitCode;
        QProcess::ExitStatus mExitStatus;
    };

private:
    enum class Phase
    {
        Settled,
        NotStarted,
        Running,
        Ended
    };

    ToolProcess();
    void abandon();
    void reportFailedStart(QProcess::ProcessError error);

    CleanUp mCleanUp;
    Phase mPhase = Phase::Settled;
    bool mStopRequested = false;
    bool mInSlot = false;

    friend bool endRunningJob(ICompressTask* task, const Pointer& process);
};

/// Makes way for a new run of a task: ends the running job, if there is one, with its own finish. False when
/// the host used that finish to release the task or to start it again: then there is nothing left to do.
bool endRunningJob(ICompressTask* task, const ToolProcess::Pointer& process);
