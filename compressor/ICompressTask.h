#pragma once

#include <QObject>
#include <QString>

/// One compression job: connect the signals, call start() (or, for video, estimate()), wait for the finish.
///
/// A task belongs to the thread that created it: all operations are called there, compressFinished is emitted
/// there, and that thread must run an event loop and outlive the run. Every start() or estimate() that
/// returned true ends in exactly one compressFinished. A task may be started again, also from inside its own
/// compressFinished; starting a running task ends the running job first, with its own compressFinished.
/// A task may be released at any time, also from inside its own signals: its encoder ends with it, without a
/// further signal, and its temporary files are removed.
///
/// The library exports no meta-object: connect by name,
/// `connect(task.data(), SIGNAL(compressFinished(int,QString)), ...)`.
class ICompressTask : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Begins the job. False: the encoder's executable is not beside the host's, nothing runs and no signal
    /// comes. A video source is inspected before the return, which may take seconds when it has no duration.
    virtual bool start() = 0;

    /// Ends a running job and removes what it wrote. It normally delivers compressFinished before it returns,
    /// else (a video without an output yet, an encoder that does not die within 500 ms) when the encoder has
    /// gone. Without a running job it touches no file.
    virtual void stop() = 0;

    /// Video only: encodes the first 15 seconds into the output path, with the job's settings, so that the
    /// host can extrapolate the size. Returns and ends as start() does; false for images.
    virtual bool estimate() = 0;

signals:
    /// Video only: the share of the job that is done, 0.0 to 1.0; exactly 1.0 just before a successful
    /// finish. During start() it is emitted in a thread of the module's own, so connect it queued or
    /// automatically; during estimate() in the task's thread.
    void compressProcess(float progress);

    /// The job's one end. Code 0: the encoder has done its work. 62097: the job was stopped. -2: the encoder
    /// could not be started. Other codes: the encoder's exit code; see FinishCode.h and
    /// docs/host-interface.md.
    void compressFinished(int finishedCode, QString errorDescription);
};
