#pragma once

#include "host/search/SettingSearch.h"

/// The scale on which an encoder takes its quality.
struct QualityScale
{
    int worst;
    int best; ///< may be the smaller number

    static constexpr QualityScale image() { return {0, 100}; }
    /// Rate factors. 0 is left to those who ask for it: it means lossless, in a profile that few players
    /// know.
    static constexpr QualityScale video() { return {51, 1}; }
};

/// Raises the quality until the result is like enough to the source: the first quality is the user's own and
/// is never lowered, then at most four better ones, halving what is left each time. The smallest result that
/// is like enough is the one to keep.
class SsimSearch final : public SettingSearch
{
public:
    /// @param minSsim above 0, at most 1.
    SsimSearch(double minSsim, int firstQuality, QualityScale scale);

    std::optional<double> next(const QList<Trial>& trials) const override;
    bool fits(const Trial& trial) const override { return trial.isUsable() && trial.ssim >= mMinSsim; }
    bool isBetter(const Trial& trial, const Trial& than) const override;
    int maxTrials() const override { return 5; }

private:
    double mMinSsim;
    int mFirstQuality;
    QualityScale mScale;
};
