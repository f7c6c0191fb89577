#include "host/search/SizeSearch.h"

#include <algorithm>
#include <cmath>

#include "host/job/SizeGoal.h"

namespace {

constexpr double kHighestPercentage = 100;
// The module counts whole thousands of bits: a finer request changes nothing.
constexpr double kLeastPercentage = 0.01;
// A video that a third more bitrate makes hardly larger has all that it needs.
constexpr double kLeastGrowth = 1.02;
// How an image's size grows with the quality, where two trials don't tell yet: by some 3 % a step.
constexpr double kLogBytesPerQuality = 0.03;
constexpr int kHighestQuality = 100;
// Interpolation can crawl towards the goal from one side: every third step halves what is left.
constexpr qsizetype kHalvingPeriod = 3;

double logBytes(const Trial& trial)
{
    return std::log(double(std::max<qint64>(trial.bytes, 1)));
}

} // namespace

bool SizeSearch::isBetter(const Trial& trial, const Trial& than) const
{
    if (fits(trial) != fits(than))
        return fits(trial);
    return fits(trial) ? trial.bytes > than.bytes : trial.bytes < than.bytes;
}

double SizeSearch::aimedBytes() const
{
    return double(mGoalBytes) * SizeGoal::kAimedShare;
}

bool SizeSearch::isNear(const QList<Trial>& trials) const
{
    return std::any_of(trials.begin(), trials.end(), [this](const Trial& trial) {
        return fits(trial) && double(trial.bytes) >= double(mGoalBytes) * SizeGoal::kLowestShare;
    });
}

std::optional<double> VideoSizeSearch::next(const QList<Trial>& trials) const
{
    const double percentPerByte = 100.0 / double(mSourceBytes);
    if (trials.isEmpty())
        return std::clamp(aimedBytes() * percentPerByte, kLeastPercentage, kHighestPercentage);
    const Trial& last = trials.last();
    // Without a bitrate left for the image the encoder fails, and with less it would again.
    if (trials.size() >= maxTrials() || isNear(trials) || !last.isUsable())
        return std::nullopt;

    double slope = last.setting / double(last.bytes);
    if (trials.size() == 2) {
        const Trial& first = trials.first();
        // With hardly any bitrate left the encoder takes one of its own choice.
        if (last.setting < first.setting && last.bytes >= first.bytes)
            return std::nullopt;
        const bool isGrown = double(last.bytes) > double(first.bytes) * kLeastGrowth;
        if (last.setting > first.setting && !isGrown && fits(last))
            return std::nullopt;
        const double measured = (last.setting - first.setting) / double(last.bytes - first.bytes);
        // Two sizes that hardly differ tell nothing of what lies far beyond.
        if (std::isfinite(measured) && measured > 0)
            slope = std::clamp(measured, slope / 3, slope * 3);
    }
    const double setting = last.setting + slope * (aimedBytes() - double(last.bytes));
    const double next =
        std::clamp(setting, std::max(last.setting / 10, kLeastPercentage), kHighestPercentage);
    return std::abs(next - last.setting) < kLeastPercentage ? std::nullopt : std::optional(next);
}

std::optional<double> ImageSizeSearch::next(const QList<Trial>& trials) const
{
    if (trials.isEmpty())
        return mFirstQuality;
    if (trials.size() >= maxTrials() || isNear(trials))
        return std::nullopt;

    const Trial* fitting = nullptr;
    int fittingCount = 0;
    const Trial* larger = nullptr;
    int tooHigh = kHighestQuality + 1;
    for (const Trial& trial : trials) {
        if (fits(trial)) {
            ++fittingCount;
            if (!fitting || trial.setting > fitting->setting)
                fitting = &trial;
        } else if (trial.setting < tooHigh) {
            tooHigh = int(trial.setting);
            larger = trial.isUsable() ? &trial : nullptr;
        }
    }
    const int low = fitting ? int(fitting->setting) : -1;
    if (tooHigh - low <= 1)
        return std::nullopt;

    int quality = (low + tooHigh) / 2;
    if (fittingCount > 1 && tooHigh > kHighestQuality) {
        // Twice too small: perhaps this image never becomes so large.
        quality = kHighestQuality;
    } else if ((fitting || larger) && trials.size() % kHalvingPeriod != 0) {
        const Trial& known = fitting ? *fitting : *larger;
        double slope = kLogBytesPerQuality;
        if (fitting && larger && logBytes(*larger) > logBytes(*fitting))
            slope = (logBytes(*larger) - logBytes(*fitting)) / (larger->setting - fitting->setting);
        quality = int(std::lround(known.setting + (std::log(aimedBytes()) - logBytes(known)) / slope));
    }
    return std::clamp(quality, low + 1, tooHigh - 1);
}
