#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <memory>

#include "host/run/Deliver.h"
#include "host/run/Encode.h"

/// One input and one output: looks at the source, has it encoded, checks what came, delivers it.
///
/// Lives in the main thread. Every start() ends in exactly one ended(), which may come inside of it. Its
/// length and progress go to the events until then. Deleting it ends its encoder and leaves nothing behind.
class Job : public QObject
{
    Q_OBJECT

public:
    Job(const JobContext& context, const JobSpec& spec);

    const JobSpec& spec() const { return mFiles.spec(); }

    void start();
    /// Ends the job early: it then counts as interrupted, however the encode ended.
    void stop() { stop(FailureKind::Interrupted); }

signals:
    void ended(const JobResult& result);

private:
    void stop(FailureKind reason);
    bool isStopped();
    void onLooked(const LookResult& result);
    void onProgress(double share);
    void onEncoded(const EncodeResult& result);
    void onChecked(const CheckResult& result);
    void onDelivered(const DeliverResult& result);
    void fail(const Failure& failure);
    void end(Outcome outcome);

    const JobContext& mContext;
    JobResult mResult;
    QElapsedTimer mClock;
    QTimer mTimeout;
    FailureKind mStopReason = FailureKind::None;
    double mShare = 0;
    bool mMayTakeDamaged = false;
    bool mHasEnded = false;

    // The stages. A later one begins once the earlier has ended, and goes first: it may still write where an
    // earlier one cleans up. Delivery comes last, and yet it has the folder that the encoder writes into.
    JobFiles mFiles;
    Deliver mDeliver;
    LookResult mSource;
    QList<Warning> mLosses;
    std::unique_ptr<Look> mLook;
    std::unique_ptr<Encode> mEncode;
    std::unique_ptr<Check> mCheck;
};
