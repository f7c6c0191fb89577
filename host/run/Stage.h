#pragma once

#include <QObject>

#include <functional>

#include "host/job/JobEvents.h"
#include "host/job/Options.h"
#include "host/media/MediaFacts.h"
#include "host/media/VideoFacts.h"
#include "host/module/ModuleRun.h"
#include "host/run/JobFiles.h"
#include "host/run/StagingFolders.h"

/// What all jobs of a run share. It outlives them.
struct JobContext
{
    const Options& options;
    JobEvents& events;
    MakeRun makeRun;
    PrivateFolder& temporaryFolder;
    StagingFolders& stagingFolders;
    /// Whether the user has asked for an end, also when the jobs do not know it yet.
    std::function<bool()> isEnding;
};

/// What the stages of one job find, each for those after it. What is to be reported stands in `result` alone.
struct JobState
{
    JobState(const JobContext& shared, const JobSpec& spec)
        : context(shared), result{.spec = spec}, files(result.spec, shared.temporaryFolder)
    {
    }
    Q_DISABLE_COPY_MOVE(JobState)

    const JobContext& context;
    JobResult result;
    JobFiles files;
    FailureKind stopReason = FailureKind::None;
    bool mayTakeDamaged = false;
    MediaFacts source;
    VideoFacts sourceVideo; ///< for outputs that are videos
    bool isSource = false;  ///< the result, byte for byte: what the encoder made was larger
    QList<Warning> losses;  ///< of the result, should it be delivered
};

/// A step of a job. Lives in the main thread and does what takes long elsewhere. Every start() ends in
/// exactly one ended(); deleting it ends its work without a signal.
class Stage : public QObject
{
    Q_OBJECT

public:
    explicit Stage(JobState& job) : mJob(job) {}

    virtual void start() = 0;

signals:
    /// No failure: the next one may begin.
    void ended(const Failure& failure);

protected:
    const Options& options() const { return mJob.context.options; }
    const JobSpec& spec() const { return mJob.result.spec; }

    JobState& mJob;
};
