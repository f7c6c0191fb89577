#pragma once

#include <QObject>

#include <memory>

#include "host/run/JobContext.h"
#include "host/run/JobFiles.h"
#include "host/search/GoalSearch.h"
#include "host/search/VideoEstimate.h"

/// A job's second stage: from a source to a result in a private folder. One run of the module as a rule;
/// several until the result has a requested size or SSIM; samples from all over a video, for a size beforehand.
///
/// Lives in the main thread and never blocks it. Every start() ends in exactly one ended(), from the event
/// loop; after stop() soon, and whatever its content it then counts as interrupted. Deleting it ends what
/// runs.
class Encode : public QObject
{
    Q_OBJECT

public:
    Encode(const JobContext& context, const JobFiles& files);
    ~Encode() override;

    void start();
    void stop();

signals:
    /// 0.0 to 1.0 of the whole encode.
    void progressed(double share);
    void ended(const EncodeResult& result);

private:
    void runOnce();
    void search();
    void onSearched(const GoalOutcome& outcome);
    void estimate();
    void onEstimated(const EstimateOutcome& outcome);
    void end(EncodeResult result);

    const JobContext& mContext;
    const JobFiles& mFiles;
    const EncodeRequest mRequest;
    SearchTarget mTarget;
    // One of the three runs.
    std::unique_ptr<ModuleRun> mRun;
    std::unique_ptr<GoalSearch> mSearch;
    int mRunNumber = 1; ///< of the search
    int mMostRuns = 1;
    std::unique_ptr<VideoEstimate> mEstimate;
};
