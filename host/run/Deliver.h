#pragma once

#include <memory>

#include "host/run/Stage.h"

/// A job's last stage: a result's way to its place, if it is worth it. It is written in a private folder
/// beside it and shows up there only when it is whole: renamed, in one step. Until then whatever lies at the
/// output's path stays as it is, also after a job that failed, was interrupted or killed. Once the job is
/// stopped, nothing is moved any more.
///
/// ended() may come inside of start().
class Deliver : public Stage
{
    Q_OBJECT

public:
    using Stage::Stage;
    ~Deliver() override;

    /// Before anything is encoded: whether the result may take its place. Makes the output's folder, where a
    /// tree is mirrored, and the private one.
    Failure prepare();
    /// Where the result is to be written, in NativePath's text form.
    const QString& stagedPath() const { return mStagedPath; }
    /// Whether a file has to give way.
    bool replacesFile() const { return mExisting.has_value(); }

    void start() override;

private:
    Failure checkPlace();
    void copySource();
    void place(Outcome outcome);
    Failure move();

    QString mFinalPath;
    std::optional<Platform::FileFacts> mExisting;
    std::shared_ptr<PrivateFolder> mFolder;
    QString mStagedPath;
    bool mIsDelivered = false;
};
