#pragma once

#include <QList>

#include <optional>

/// A setting that was tried, and what came of it.
struct Trial
{
    double setting;      ///< quality, rate factor or percentage
    qint64 bytes = -1;   ///< the result's size; -1: this setting gives no usable result
    double score = -1.0; ///< by the metric, if one is asked for; -1.0: not measured
    bool isUsable() const { return bytes >= 0; }
};

/// Decides which setting to try next. Holds no state but the request: the trials so far say all, and the same
/// ones give the same answer. No setting is tried twice.
class SettingSearch
{
public:
    virtual ~SettingSearch() = default;

    /// None when further trials are not worth their time, or not allowed.
    virtual std::optional<double> next(const QList<Trial>& trials) const = 0;

    /// Whether the result is as the user asked.
    virtual bool fits(const Trial& trial) const = 0;

    /// Whether `trial` is the one to keep of the two; among results that don't fit, the one that is nearer.
    virtual bool isBetter(const Trial& trial, const Trial& than) const = 0;

    /// How many trials there may be in all.
    virtual int maxTrials() const = 0;

    /// The index of the trial to keep; -1 when none is usable.
    int best(const QList<Trial>& trials) const
    {
        int best = -1;
        for (int i = 0; i < trials.size(); ++i) {
            if (trials[i].isUsable() && (best < 0 || isBetter(trials[i], trials[best])))
                best = i;
        }
        return best;
    }
};
