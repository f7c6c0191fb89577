#pragma once

#include <QObject>
#include <QString>
#include <QThread>

#include "compressor/ICompressor.h"
#include "host/job/Options.h"

/// The thread that the module and all its tasks live in: a video's start may look into its source for seconds,
/// and the ends of encoders are judged and delivered here, while the main thread shows, plans and renames.
class TaskThread
{
public:
    /// Starts the thread, which loads the module at once. Of the
    /// options it takes the encoders' priority, and whether their commands are to be logged.
    explicit TaskThread(const Options& options);
    /// Waits until the last task is gone.
    ~TaskThread();
    Q_DISABLE_COPY_MOVE(TaskThread)

    /// Runs `work` in the thread, in the order of the calls.
    template <class Work>
    void post(Work&& work)
    {
        QMetaObject::invokeMethod(mContext, std::forward<Work>(work), Qt::QueuedConnection);
    }

    QThread* thread() { return &mThread; }

    /// Only to be called in the thread: the module, or null, and then why.
    ICompressor* compressor() const { return mCompressor; }
    const QString& errorString() const { return mError; }
    bool logsCommands() const { return mLogsCommands; }

private:
    QThread mThread;
    QObject* mContext; ///< lives in the thread
    const bool mLogsCommands;
    ICompressor* mCompressor = nullptr;
    QString mError;
};
