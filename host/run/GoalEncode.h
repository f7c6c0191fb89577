#pragma once

#include "host/run/Encode.h"
#include "host/search/GoalSearch.h"

/// Several runs of the module, until the result has the size or the SSIM that the user asks for.
class GoalEncode final : public Encode
{
    Q_OBJECT

public:
    explicit GoalEncode(const EncodeContext& context);

    void start() override { mSearch.start(); }
    void stop() override { mSearch.stop(); }

private:
    void onEnded(const GoalOutcome& outcome);

    SearchTarget mTarget;
    int mTries = 0;
    GoalSearch mSearch;
    int mRun = 1;
    int mMostRuns = 1;
};
