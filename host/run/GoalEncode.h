#pragma once

#include "host/Encode.h"
#include "host/search/GoalSearch.h"

/// Several runs of the module, until the result has the size or the likeness that the user wishes.
class GoalEncode final : public Encode
{
    Q_OBJECT

public:
    explicit GoalEncode(const EncodeContext& context);

    void start() override { mSearch.start(); }
    void stop() override { mSearch.stop(); }

private:
    void onEnded(const GoalOutcome& outcome);

    GoalWish mWish;
    int mTries = 0;
    GoalSearch mSearch;
    int mRun = 1;
    int mMostRuns = 1;
};
