#pragma once

#include <QDeadlineTimer>
#include <QPointer>
#include <QProcess>

#include <functional>
#include <memory>

class ICompressTask;

/// One run of an external encoder. It adds to QProcess what every task needs:
///
///  - the task's finish slot is called exactly once for a run, whatever dies when: also when the program
///    cannot be started, and not before the event loop turns then;
///  - a run that the task lets go of is ended without a further signal. It lives on in a thread of the
///    module's own until its encoder has died, and never holds up the host longer than kKillTimeoutMs;
///  - its output and error channels go nowhere, so that a talkative encoder costs the host no memory.
///
/// A task's finish slot opens with an Ending.
class ToolProcess : public QProcess
{
    Q_OBJECT

public:
    /// How long a killed encoder is waited for.
    static constexpr int kKillTimeoutMs = 500;

    /// Removes what a run left behind. `mayHaveOutput` tells whether its encoder got as far as to start.
    /// False when something could not be removed because the encoder still holds it; it is called again when
    /// the encoder has died.
    using CleanUp = std::function<bool(bool mayHaveOutput)>;

    struct Job
    {
        QString command;
        /// What the encoder writes that is not private to this run; may be empty. The encoder is not started
        /// while a dying one of another run may still write there.
        QString sharedOutput;
        QString workingFolder; ///< empty: the host's
        /// For a run that ends without its task's slot, or before its encoder has died.
        CleanUp cleanUp;
    };

    /// Lets go of a run, with the clean-up where nobody has judged it yet, and deletes it sooner or later.
    struct Release
    {
        void operator()(ToolProcess* process) const;
    };
    using Pointer = std::unique_ptr<ToolProcess, Release>;

    /// A process whose `finished(int, QProcess::ExitStatus)` leads to the task's slot
    /// `onCompressFinished(int, QProcess::ExitStatus)`.
    static Pointer makeFor(ICompressTask* task);

    /// Hands the command to the system.
    void run(Job job);

    /// A run without an encoder: its end, with FinishCode::kRefused, comes when the event loop turns.
    void refuse();

    /// From run() until an Ending is settled.
    bool isUnsettled() const { return mPhase != Phase::Idle && mPhase != Phase::Settled; }
    /// Whether stop() has something to stop: neither has the encoder ended nor has its end been told.
    bool isStoppable() const;
    /// Whether what lies at the output path may be this run's.
    bool mayHaveOutput() const { return mStarted && (mPhase == Phase::Running || mPhase == Phase::Ended); }

    /// Kills the encoder and waits for its end, at most kKillTimeoutMs. The run counts as stopped from now
    /// on, even when the encoder had just come to its own end. True: the end has been told inside. False, and
    /// a line in the debug log, when there was nothing to wait for or the time ran out.
    bool killAndWait();
    /// The same without waiting: the end comes from the event loop. True where there is no encoder yet, and
    /// the end has been told inside.
    bool killLater();

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

        /// The run has been told before: the slot does nothing.
        bool isRepeated() const { return mRepeated; }
        int exitCode() const { return mExitCode; }
        /// There was an encoder: it was neither refused nor failed to start.
        bool hadEncoder() const { return mHadEncoder; }
        /// The encoder was neither stopped nor killed nor did it crash: what it wrote is as it meant it.
        bool isWhole() const { return mExitStatus == QProcess::NormalExit && mHadEncoder; }
        /// For an encoder that writes the output path itself: ffmpeg up to 6.0 ends with 0 when only its last
        /// writes failed. A success becomes a refusal where they may have.
        void distrustFullDisk(const QString& outputPath);
        /// A success becomes an end with another code.
        void spoil(int exitCode, QProcess::ExitStatus exitStatus);
        /// The run has no files left to judge or remove. To be called before the task tells the host.
        void settle();
        /// Writes the image tasks' line on the end to the debug log.
        void log() const;

    private:
        QPointer<ToolProcess> mProcess;
        int mExitCode;
        QProcess::ExitStatus mExitStatus;
        bool mHadEncoder = true;
        bool mRepeated = false;
    };

private:
    enum class Phase
    {
        Idle,
        Pending,    ///< no encoder yet, or none at all
        NotStarted, ///< the system could not start it
        Running,
        Ended,
        Settled
    };

    explicit ToolProcess(ICompressTask* task);
    void launch();
    void requestKill();
    void tell(int exitCode, QProcess::ExitStatus exitStatus);
    void tellLater(Phase phase, int exitCode);
    void tellOverdueEnd();
    void onErrorOccurred(QProcess::ProcessError error);
    void onEncoderEnded();
    void leaveFilesBehind();
    bool letGo();
    void letGoAndDelete();
    void outliveThread();

    ICompressTask* mTask; ///< dangles once this is let go
    Job mJob;
    Phase mPhase = Phase::Idle;
    QDeadlineTimer mKillDeadline;
    bool mStarted = false;
    bool mStopRequested = false;
    bool mTold = false;     ///< the task's slot has been called
    bool mInSlot = false;   ///< and has not returned
    bool mNeverRan = false; ///< it was told of an end without an encoder
    bool mLetGo = false;    ///< the task has done with it
    bool mLeft = false;     ///< it has left the task's thread, or goes at the next turn
    bool mFilesLeft = false;
    bool mHoldsOutput = false;

    friend bool endRunningJob(ICompressTask* task, const Pointer& process);
};

/// Makes way for a new run of a task: ends the running job, if there is one, with its own finish. False when
/// the host used that finish to release the task or to start it again: then there is nothing left to do.
bool endRunningJob(ICompressTask* task, const ToolProcess::Pointer& process);
