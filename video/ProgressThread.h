#pragma once

#include <QByteArray>
#include <QMutex>
#include <QString>
#include <QThread>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <optional>

class QFile;

/// What a line of ffmpeg's progress file says, as a share of the duration: never negative, above 1 when
/// ffmpeg writes past it. Nothing for other lines, and for a duration of 0 or less.
std::optional<float> progressIn(const QByteArray& line, float durationMs);

/// Follows the file that ffmpeg writes with "-progress" and reports how far the encode is.
///
/// The owner constructs, starts and destroys it in its own thread; requestStop() may be called from any. The
/// thread ends at ffmpeg's end marker, or soon after a stop request, or where the file ends once the encoder
/// has; it removes the file then.
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
        /// The same, but it is not deleted before the event loop turns.
        static void later(ProgressThread* monitor);
    };
    using Pointer = std::unique_ptr<ProgressThread, Release>;

    /// @param duration the expected length of the output in milliseconds; 0 or less: nothing is reported.
    /// @param progressFilePath the file that ffmpeg will create.
    ProgressThread(float duration, QString progressFilePath);

    /// Asks the thread to stop and waits for it without a limit; it ends any wait of its own at once.
    ~ProgressThread() override;

    void requestStop();

    /// For the encoder's end: the monitor reads at once what is left. A value that it has read before this
    /// call is told when it returns; where a receiver holds that up, at most kStopTimeoutMs later.
    void encoderEnded();

signals:
    /// The share of the duration that is encoded: never negative, above 1 when ffmpeg writes past the
    /// duration. Emitted in this thread.
    void threadCompressProcess(float progress);

protected:
    void run() override;

    /// Reads on behind `line`, what was read of the line before, and tells what it says once it is whole;
    /// false where there is no whole line yet, or none any more.
    bool readLine(QFile& file, QByteArray& line);

private:
    bool shouldRun();
    bool hasEncoderEnded();
    void pause(std::chrono::milliseconds length);

    float mDuration;
    bool mRunning = true;
    bool mWaitingForFile = true;
    QMutex mMutex;
    QString mProgressFilePath;
    std::condition_variable_any mWakeUp; ///< a QWaitCondition hides its locking from the thread sanitizer
    QMutex mReporting;                   ///< held from the reading of a line until it has been told
    bool mEncoderEnded = false;          ///< guarded by mMutex
    bool mSawEndMarker = false;          ///< of this thread alone
};
