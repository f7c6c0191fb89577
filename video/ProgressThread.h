#pragma once

#include <QByteArray>
#include <QMutex>
#include <QString>
#include <QThread>

#include <chrono>
#include <condition_variable>
#include <memory>

/// Follows the file that ffmpeg writes with "-progress" and reports how far the encode is.
///
/// The owner constructs, starts and destroys it in its own thread; requestStop() may be called from any. The
/// thread ends at ffmpeg's end marker or soon after a stop request, and removes the file when it ends.
class ProgressThread : public QThread
{
    Q_OBJECT

public:
    /// How long an owner waits for a monitor that it has asked to stop.
    static constexpr unsigned long kStopTimeoutMs = 500;

    /// Lets go of a monitor, also from inside its own signal: it is asked to stop, waited for at most
    /// kStopTimeoutMs, and deletes itself later when a receiver of its signal still holds it.
    struct Release
    {
        void operator()(ProgressThread* monitor) const;
    };
    using Pointer = std::unique_ptr<ProgressThread, Release>;

    /// @param duration the expected length of the output in milliseconds; 0 or less: nothing is reported.
    /// @param progressFilePath the file that ffmpeg will create.
    ProgressThread(float duration, QString progressFilePath);

    /// Asks the thread to stop and waits for it without a limit; it ends any wait of its own at once.
    ~ProgressThread() override;

    void requestStop();

    /// For the encoder's end: the monitor reads on to the end marker at once, and reports nothing more once
    /// this has returned. It waits for a report that is being delivered, at most kStopTimeoutMs.
    void silence();

signals:
    /// The share of the duration that is encoded: never negative, above 1 when ffmpeg writes past the
    /// duration. Emitted in this thread.
    void threadCompressProcess(float progress);

protected:
    void run() override;

private:
    bool shouldRun();
    bool isSilent();
    void pause(std::chrono::milliseconds length);
    void report(const QByteArray& line);

    float mDuration;
    bool mRunning = true;
    bool mWaitingForFile = true;
    QMutex mMutex;
    QString mProgressFilePath;
    std::condition_variable_any mWakeUp; ///< a QWaitCondition hides its locking from the thread sanitizer
    QMutex mReporting;                   ///< held while a report is delivered
    bool mSilent = false;                ///< guarded by mMutex
};
