#pragma once

#include "host/job/Format.h"
#include "host/job/Metric.h"
#include "host/search/SettingSearch.h"

/// Raises the quality until the result is like enough to the source: the first quality is the user's own and
/// is never lowered, then at most four better ones, halving what is left each time. The smallest result that
/// is like enough is the one to keep.
class MetricSearch final : public SettingSearch
{
public:
    MetricSearch(const Score& least, int firstQuality, const QualityScale& scale);

    std::optional<double> next(const QList<Trial>& trials) const override;
    bool fits(const Trial& trial) const override { return trial.isUsable() && trial.score >= mLeast.value; }
    bool isBetter(const Trial& trial, const Trial& than) const override;
    int maxTrials() const override { return 5; }

private:
    Score mLeast;
    int mFirstQuality;
    int mDirection; ///< of better qualities
    int mSteps;     ///< to the best one
};
