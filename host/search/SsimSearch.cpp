#include "host/search/SsimSearch.h"

#include <algorithm>
#include <cstdlib>

namespace {

// A result that leaves so little of the allowed difference unused need not become smaller.
constexpr double kUsedUp = 0.9;

} // namespace

SsimSearch::SsimSearch(double minSsim, int firstQuality, QualityScale scale)
    : mMinSsim(minSsim), mFirstQuality(firstQuality), mScale(scale)
{
}

bool SsimSearch::isBetter(const Trial& trial, const Trial& than) const
{
    if (fits(trial) != fits(than))
        return fits(trial);
    return fits(trial) ? trial.bytes < than.bytes : trial.ssim > than.ssim;
}

// Counts in steps towards the best quality, from the first.
std::optional<double> SsimSearch::next(const QList<Trial>& trials) const
{
    if (trials.isEmpty())
        return mFirstQuality;
    const int direction = mScale.best < mScale.worst ? -1 : 1;
    const int top = std::max((mScale.best - mFirstQuality) * direction, 0);
    int low = 0; // not like enough
    int high = top + 1;
    bool isHighEnough = false;
    for (const Trial& trial : trials) {
        const int steps = (int(trial.setting) - mFirstQuality) * direction;
        if (trial.isUsable() && !fits(trial)) {
            low = std::max(low, steps);
        } else if (steps < high) {
            high = steps;
            isHighEnough = fits(trial);
        }
        if (fits(trial) && 1.0 - trial.ssim >= kUsedUp * (1.0 - mMinSsim))
            return std::nullopt;
    }
    if (high - low <= 1 || trials.size() >= maxTrials())
        return std::nullopt;
    // The last chance of a high target.
    const bool isLast = trials.size() == maxTrials() - 1;
    const int steps = isLast && !isHighEnough ? high - 1 : (low + high) / 2;
    return mFirstQuality + steps * direction;
}
