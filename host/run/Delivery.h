#pragma once

#include <memory>

#include "host/job/JobResult.h"
#include "host/job/Options.h"
#include "host/run/StagingFolders.h"
#include "host/system/PlatformFiles.h"

/// A result's way to its place. It is written in a private folder beside it and shows up there only when it
/// is whole: renamed, in one step. Until then whatever lies at the output's path stays as it is, also after a
/// job that failed, was interrupted or killed.
class Delivery
{
public:
    Delivery(const Options& options, const JobSpec& spec) : mOptions(options), mSpec(spec) {}
    ~Delivery();
    Q_DISABLE_COPY_MOVE(Delivery)

    /// Looks whether the result may take its place, before anything is encoded. `source`: as it is now.
    Failure check(const Platform::FileFacts& source);
    /// Makes the output's folder, where a tree is mirrored, and the private one. Nothing is delivered when
    /// `temporary` is given: the result is written there and discarded.
    Failure prepare(StagingFolders& folders, PrivateFolder* temporary);

    /// Whether a file has to give way.
    bool replacesFile() const { return mExisting.has_value(); }

    /// Where the result is to be written, in NativePath's text form.
    const QString& stagedPath() const { return mStagedPath; }

    /// Moves the result to its place, with the mode, owner and dates that it ought to have. Where it cannot
    /// take its place although it is whole, `keptAt` says where it was left, if anywhere. A file that has come there
    /// meanwhile shows as OutputExists.
    Failure deliver(QString& keptAt);

private:
    Failure makeFolders(const QString& folder, const QString& model);

    const Options& mOptions;
    const JobSpec mSpec;
    QString mFinalPath;
    Platform::FileFacts mSource;
    std::optional<Platform::FileFacts> mExisting;
    std::shared_ptr<PrivateFolder> mFolder;
    QString mStagedPath;
    StagingFolders* mStaging = nullptr;
    bool mIsDelivered = false;
};
