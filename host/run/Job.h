#pragma once

#include <QElapsedTimer>
#include <QTimer>

#include <memory>

#include "host/run/Check.h"
#include "host/run/Deliver.h"
#include "host/run/Encode.h"
#include "host/run/Look.h"

/// One input and one output: looks at the source, has it encoded, checks what came, delivers it.
///
/// Lives in the main thread. Every start() ends in exactly one ended(), which may come inside of it. Its
/// length and progress go to the events until then. Deleting it ends its encoder and leaves nothing behind.
class Job : public QObject
{
    Q_OBJECT

public:
    Job(const JobContext& context, const JobSpec& spec);

    void start();
    /// Ends the job early: it then counts as interrupted, however the encode ended.
    void stop() { stop(FailureKind::Interrupted); }

signals:
    void ended(const JobResult& result);

private:
    void stop(FailureKind reason);
    bool isStopped();
    void run(Stage& stage, void (Job::*next)());
    void encode();
    void onProgress(double share);
    void onEncoded();
    void deliver();
    void onDelivered(const Failure& failure);
    void fail(const Failure& failure);
    void end(Outcome outcome);

    JobState mState;
    QElapsedTimer mClock;
    QTimer mTimeout;
    double mShare = 0;
    bool mHasEnded = false;

    // The stages. A later one begins once the earlier has ended, and goes first: it may still write where an
    // earlier one cleans up. Delivery comes last, and yet it has the folder that the encoder writes into.
    Deliver mDeliver;
    Look mLook;
    std::unique_ptr<Encode> mEncode;
    std::unique_ptr<Check> mCheck;
};
