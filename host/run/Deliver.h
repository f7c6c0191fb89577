#pragma once

#include <QObject>

#include <memory>

#include "host/run/Check.h"
#include "host/run/JobContext.h"

/// What became of a result.
struct DeliverResult
{
    Failure failure; ///< OutputExists too, where a file has come there meanwhile
    Outcome outcome = Outcome::Delivered;
    qint64 bytesAfter = 0;
    QString keptAt; ///< where a whole result was left that could not take its place
};

/// A job's last stage: a result's way to its place, if it is worth it. It is written in a private folder beside
/// it and shows up there only when it is whole: renamed, in one step. Until then whatever lies at the output's
/// path stays as it is, also after a job that failed, was interrupted or killed.
///
/// Lives in the main thread. Every start() ends in exactly one ended(), which may come inside of it.
class Deliver : public QObject
{
    Q_OBJECT

public:
    Deliver(const JobContext& context, const JobFiles& files) : mContext(context), mFiles(files) {}
    ~Deliver() override;

    /// Before anything is encoded: whether the result may take its place. Makes the output's folder, where a
    /// tree is mirrored, and the private one.
    Failure prepare();
    /// Where the result is to be written, in NativePath's text form.
    const QString& stagedPath() const { return mStagedPath; }
    /// Whether a file has to give way.
    bool replacesFile() const { return mExisting.has_value(); }

    void start(const CheckResult& made);
    /// Nothing is moved any more.
    void stop() { mIsStopped = true; }

signals:
    void ended(const DeliverResult& result);

private:
    Failure checkPlace();
    void copySource();
    void place(Outcome outcome);
    Failure move();
    void end(Failure failure);

    const JobContext& mContext;
    const JobFiles& mFiles;
    QString mFinalPath;
    std::optional<Platform::FileFacts> mExisting;
    std::shared_ptr<PrivateFolder> mFolder;
    QString mStagedPath;
    DeliverResult mResult;
    bool mIsStopped = false;
    bool mIsDelivered = false;
};
