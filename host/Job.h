#pragma once

#include <QObject>
#include <QSharedPointer>
#include <QVariantMap>

#include "compressor/ICompressor.h"
#include "host/Options.h"

/// What came of a job.
struct JobResult
{
    ExitStatus status;
    bool interrupted; ///< it ended because it was told to; `text` is empty then
    QString text;     ///< for people: the result line, or what went wrong
};

/// One input and one output on their way through the module. The derived classes say what the task does and
/// what its end means.
///
/// Every start() ends in exactly one ended(), which may come inside of it. No other signal follows.
class Job : public QObject
{
    Q_OBJECT

public:
    Job(ICompressor& compressor, const Options& options);

    const Options& options() const { return mOptions; }

    void start();

    /// Ends the job early: it then counts as interrupted, however the task ended.
    void stop();

signals:
    /// The share of the task that is done, 0.0 to 1.0.
    void progressed(float progress);
    void ended(const JobResult& result);

protected:
    /// Makes ready what the task writes to. Returns its path, or an empty one after fail().
    virtual QString prepareOutput() = 0;
    virtual bool launch(ICompressTask& task) = 0;
    /// The task has succeeded. Calls end() or fail(), now or later.
    virtual void conclude() = 0;

    void end(ExitStatus status, const QString& text);
    void fail(const QString& text) { end(kJobFailed, text); }

private:
    Q_SLOT void onCompressFinished(int code, const QString& description);
    QVariantMap parameters(const QString& outputPath) const;

    ICompressor& mCompressor;
    Options mOptions;
    QSharedPointer<ICompressTask> mTask;
    bool mIsTaskRunning = false;
    bool mStopping = false;
    bool mEnded = false;
};
