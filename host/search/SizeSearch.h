#pragma once

#include "host/search/SettingSearch.h"

/// What the searches for a size have in common: the largest result that is not larger than the goal.
class SizeSearch : public SettingSearch
{
public:
    explicit SizeSearch(qint64 goalBytes) : mGoalBytes(goalBytes) {}

    bool fits(const Trial& trial) const override { return trial.isUsable() && trial.bytes <= mGoalBytes; }
    bool isBetter(const Trial& trial, const Trial& than) const override;

protected:
    double aimedBytes() const;
    /// Whether one of the trials is as near to the goal as it need be.
    bool isNear(const QList<Trial>& trials) const;

private:
    qint64 mGoalBytes;
};

/// Videos, by the percentage that the module aims at: it misses by the sound's and the container's share, by
/// rounded lengths and by what the encoder makes of a bitrate. Each miss corrects the next percentage.
class VideoSizeSearch final : public SizeSearch
{
public:
    VideoSizeSearch(qint64 goalBytes, qint64 sourceBytes) : SizeSearch(goalBytes), mSourceBytes(sourceBytes)
    {
    }

    std::optional<double> next(const QList<Trial>& trials) const override;
    int maxTrials() const override { return 3; }

private:
    qint64 mSourceBytes;
};

/// Images, by quality: narrowed between one that fits and one that doesn't, 0 to 100, more is better and
/// larger.
class ImageSizeSearch final : public SizeSearch
{
public:
    ImageSizeSearch(qint64 goalBytes, int firstQuality) : SizeSearch(goalBytes), mFirstQuality(firstQuality)
    {
    }

    std::optional<double> next(const QList<Trial>& trials) const override;
    int maxTrials() const override { return 10; }

private:
    int mFirstQuality;
};
