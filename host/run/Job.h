#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>

#include "host/run/Delivery.h"
#include "host/run/Encode.h"
#include "host/run/ResultCheck.h"

/// What all jobs of a run share. It outlives them.
struct JobContext
{
    const Options& options;
    MakeRun makeRun;
    PrivateFolder& temporaryFolder;
    StagingFolders& stagingFolders;
    /// Whether the user has asked for an end, also when nobody has told the jobs yet.
    std::function<bool()> isEnding;
};

/// One input and one output: looks at the source, has it encoded, judges what came, delivers it.
///
/// Lives in the main thread. Every start() ends in exactly one ended(), which may come inside of it. No other
/// signal follows. Letting it go ends its encoder and leaves nothing behind.
class Job : public QObject
{
    Q_OBJECT

public:
    Job(const JobContext& context, const JobSpec& spec);
    ~Job() override;

    const JobSpec& spec() const { return mSpec; }

    void start();
    /// Ends the job early: it then counts as interrupted, however the encode ended.
    void stop() { stop(FailureKind::Interrupted); }

signals:
    void measured(qint64 videoMs);
    /// The share that is done, 0.0 to 1.0; never falls.
    void progressed(double share);
    void ended(const JobResult& result);

private:
    void stop(FailureKind reason);
    bool isStopped();
    bool isSourceChanged() const;
    bool mayTakeDamaged() const;
    Failure statSource();
    Failure reachFiles();
    QString plainPath(const QString& path, const QString& linkSuffix);
    QString linkTo(const QString& path, const QString& linkSuffix);
    void onLooked(const SourceView& view);
    void beginEncode();
    void onEncoded(const EncodeEnd& end);
    void onChecked(const ResultView& view);
    void decide();
    void deliverCopy();
    void deliver(Outcome outcome);
    void predict();
    void fail(const Failure& failure);
    void noteFullDisk();
    void end(Outcome outcome);

    const JobContext& mContext;
    JobSpec mSpec;
    JobResult mResult;
    QElapsedTimer mClock;
    Platform::FileFacts mSource;
    std::optional<Delivery> mDelivery;
    QStringList mLinks;  ///< in the temporary folder, for paths that not every tool can carry
    QString mSourcePath; ///< such a path, or the source's own
    QString mResultPath;
    // One after the other; a later one exists only once the earlier has ended.
    std::unique_ptr<SourceLook> mLook;
    std::unique_ptr<Encode> mEncode;
    std::unique_ptr<ResultCheck> mCheck;
    SourceView mView;
    QList<Warning> mLosses;
    QTimer mTimeout;
    FailureKind mStopReason = FailureKind::None;
    double mShare = 0;
    bool mHasEnded = false;
};
