#pragma once

#include "host/job/JobResult.h"
#include "host/system/PlatformFiles.h"
#include "host/system/PrivateFolder.h"

/// One job's source and its result on the way, under paths that Qt and every tool can carry: links in the
/// temporary folder, where their own are not such. Lives as long as the job, and shorter than `spec`.
class JobFiles
{
public:
    JobFiles(const JobSpec& spec, PrivateFolder& folder) : mSpec(spec), mFolder(folder) {}
    ~JobFiles();
    Q_DISABLE_COPY_MOVE(JobFiles)

    /// Looks whether the source can be read at all, and remembers what it is now.
    Failure begin();
    const Platform::FileFacts& source() const { return mSource; }
    /// Since begin().
    bool isSourceChanged() const;

    /// Finds the two paths. `stagedPath` is where the result is to be written; its name is a plain one.
    Failure reach(const QString& stagedPath);
    /// Has the source reached through a name with this suffix, unless it is empty.
    Failure setSourceSuffix(const QString& suffix);
    const QString& sourcePath() const { return mSourcePath; }
    const QString& resultPath() const { return mResultPath; }

    /// Whether a copy of the source may have the output's name.
    bool isSourceOfOutputsKind() const;

    /// Notes a likely cause of a failure, where a disk has less room than the source takes.
    void noteFullDisk(Failure& failure) const;

private:
    QString linkTo(const QString& path, const QString& suffix);

    const JobSpec& mSpec;
    PrivateFolder& mFolder;
    Platform::FileFacts mSource;
    QString mSourcePath;
    QString mResultPath;
    QStringList mLinks;
};
