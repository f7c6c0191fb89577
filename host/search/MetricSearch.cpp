#include "host/search/MetricSearch.h"

#include <algorithm>

namespace {

// A result that leaves so little of the allowed difference unused need not become smaller.
constexpr double kUsedUp = 0.9;

} // namespace

// A rate factor of 0 is left to those who ask for it: it means lossless, in a profile that few players know.
MetricSearch::MetricSearch(const Score& least, int firstQuality, const QualityScale& scale)
    : mLeast(least), mFirstQuality(firstQuality), mDirection(scale.moreIsBetter() ? 1 : -1),
      mSteps(std::max((std::max(scale.best, 1) - firstQuality) * mDirection, 0))
{
}

bool MetricSearch::isBetter(const Trial& trial, const Trial& than) const
{
    if (fits(trial) != fits(than))
        return fits(trial);
    return fits(trial) ? trial.bytes < than.bytes : trial.score > than.score;
}

// Counts in steps towards the best quality, from the first.
std::optional<double> MetricSearch::next(const QList<Trial>& trials) const
{
    if (trials.isEmpty())
        return mFirstQuality;
    int low = 0; // not like enough
    int high = mSteps + 1;
    bool isHighEnough = false;
    const double best = mLeast.metric->best;
    for (const Trial& trial : trials) {
        const int steps = (int(trial.setting) - mFirstQuality) * mDirection;
        if (trial.isUsable() && !fits(trial)) {
            low = std::max(low, steps);
        } else if (steps < high) {
            high = steps;
            isHighEnough = fits(trial);
        }
        if (fits(trial) && best - trial.score >= kUsedUp * (best - mLeast.value))
            return std::nullopt;
    }
    if (high - low <= 1 || trials.size() >= maxTrials())
        return std::nullopt;
    // The last chance of a high target.
    const bool isLast = trials.size() == maxTrials() - 1;
    const int steps = isLast && !isHighEnough ? high - 1 : (low + high) / 2;
    return mFirstQuality + steps * mDirection;
}
