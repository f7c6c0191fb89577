#pragma once

#include <memory>

#include "host/run/Stage.h"
#include "host/search/GoalSearch.h"
#include "host/search/VideoEstimate.h"

/// A job's second stage: from a source to a result in a private folder. One run of the module as a rule;
/// several until the result has a requested size or SSIM; samples from all over a video, for a size
/// beforehand.
///
/// ended() comes from the event loop; after stop() soon, and whatever its content it then counts as
/// interrupted.
class Encode : public Stage
{
    Q_OBJECT

public:
    explicit Encode(JobState& job);

    void start() override;
    void stop();

signals:
    /// 0.0 to 1.0 of the whole encode.
    void progressed(double share);

private:
    void runOnce();
    void search();
    void onSearched(const GoalOutcome& outcome);
    void estimate();
    void onEstimated(const EstimateOutcome& outcome);
    void end(Failure failure);

    const EncodeRequest mRequest;
    // One of the three runs.
    std::unique_ptr<ModuleRun> mRun;
    std::unique_ptr<GoalSearch> mSearch;
    int mRunNumber = 1; ///< of the search
    int mMostRuns = 1;
    std::unique_ptr<VideoEstimate> mEstimate;
};
