#include "host/search/GoalSearch.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <utility>

#include "host/search/MetricSearch.h"
#include "host/search/SizeSearch.h"
#include "host/system/PlatformFiles.h"

using namespace Qt::StringLiterals;

namespace {

// pngquant cannot keep within the limits it was given; other limits may do.
constexpr int kOutOfReachCodes[] = {98, 99};

void remove(QString& path)
{
    if (!path.isEmpty())
        QFile::remove(std::exchange(path, {}));
}

std::unique_ptr<SettingSearch> searchFor(const SearchTarget& target)
{
    if (!target.size)
        return std::make_unique<MetricSearch>(*target.least, target.quality, target.format->quality);
    const qint64 sourceBytes = QFileInfo(target.inputPath).size();
    const qint64 goalBytes = target.size->bytesFor(sourceBytes);
    if (target.format->isVideo())
        return std::make_unique<VideoSizeSearch>(goalBytes, sourceBytes);
    return std::make_unique<ImageSizeSearch>(goalBytes, target.quality);
}

} // namespace

GoalSearch::GoalSearch(const SearchTarget& target, MakeRun makeRun, NewPath newPath)
    : mTarget(target), mMakeRun(std::move(makeRun)), mNewPath(std::move(newPath)), mSearch(searchFor(target))
{
}

GoalSearch::~GoalSearch()
{
    mRun.reset();
    if (!mEnded)
        removeAll();
}

void GoalSearch::start()
{
    QMetaObject::invokeMethod(this, &GoalSearch::step, Qt::QueuedConnection);
}

void GoalSearch::stop()
{
    if (std::exchange(mStopping, true) || mEnded)
        return;
    if (mRun) {
        mRun->stop();
    } else {
        // Deleted later: this may be inside one of its signals.
        retire(mProbe);
        QMetaObject::invokeMethod(this, &GoalSearch::step, Qt::QueuedConnection);
    }
}

void GoalSearch::step()
{
    if (mStopping)
        return end({FailureKind::Interrupted});
    if (const auto setting = mSearch->next(mOutcome.trials))
        return encode(*setting);

    mOutcome.chosen = mSearch->best(mOutcome.trials);
    if (mOutcome.chosen < 0 && mRunFailure)
        return end(mRunFailure);
    if (mOutcome.chosen < 0)
        return end({FailureKind::AimUnreached, u"no result is smaller than the source"_s});
    const Trial& chosen = mOutcome.trials[mOutcome.chosen];
    const bool fits = mSearch->fits(chosen);
    if (fits && mTarget.least && chosen.score < 0)
        return measure(mOutcome.chosen, mKeptPath);
    const bool isLike = !mTarget.least || chosen.score >= mTarget.least->value;
    end(fits && isLike ? Failure() : Failure{FailureKind::AimUnreached, reachedText()});
}

void GoalSearch::encode(double setting)
{
    emit runBegan(int(mOutcome.trials.size()) + 1, mSearch->maxTrials());
    if (mStopping)
        return;
    mSetting = setting;
    mNewestPath = mNewPath(mTarget.suffix);
    const bool isPercentage = mTarget.format->isVideo() && mTarget.size;
    const QString quality = QString::number(setting, 'f', isPercentage ? 3 : 0);
    mRun = mMakeRun({mTarget.inputPath, mNewestPath, quality, isPercentage, mTarget.scale});
    connect(mRun.get(), &ModuleRun::progressed, this, &GoalSearch::progressed);
    connect(mRun.get(), &ModuleRun::ended, this, &GoalSearch::onEncoded);
    mRun->start();
}

void GoalSearch::onEncoded(const Failure& failure)
{
    retire(mRun);
    if (mStopping)
        return end({FailureKind::Interrupted});
    Trial trial{mSetting};
    if (!failure) {
        const bool isCopy =
            !mTarget.format->isVideo() && Platform::haveSameContent(mNewestPath, mTarget.inputPath);
        if (!isCopy || mTarget.copyCounts)
            trial.bytes = QFileInfo(mNewestPath).size();
        if (isCopy)
            trial.score = mTarget.least ? mTarget.least->metric->best : -1.0;
    } else {
        mRunFailure = failure;
        const bool isOutOfReach = std::find(std::begin(kOutOfReachCodes), std::end(kOutOfReachCodes),
                                            failure.code) != std::end(kOutOfReachCodes);
        if (!isOutOfReach && mKeptPath.isEmpty() && mOutcome.trials.isEmpty())
            return end(failure);
    }
    mOutcome.trials.append(trial);
    if (trial.isUsable() && trial.score < 0 && !mTarget.size)
        return measure(int(mOutcome.trials.size()) - 1, mNewestPath);
    judge();
}

void GoalSearch::measure(int index, const QString& path)
{
    mProbe = std::make_unique<MetricProbe>(*mTarget.least->metric, path, mTarget.inputPath,
                                           mTarget.format->isVideo());
    connect(mProbe.get(), &MetricProbe::progressed, this, &GoalSearch::progressed);
    connect(mProbe.get(), &MetricProbe::ended, this, [this, index](double score) {
        retire(mProbe);
        if (score < 0)
            return end({FailureKind::MeasureFailed, u"it could not be compared with its result"_s});
        mOutcome.trials[index].score = score;
        judge();
    });
}

// Of all results only the best one that fits stays.
void GoalSearch::judge()
{
    const int best = mSearch->best(mOutcome.trials);
    const bool isNewest = best == mOutcome.trials.size() - 1 && !mNewestPath.isEmpty();
    if (isNewest && mSearch->fits(mOutcome.trials[best]))
        std::swap(mKeptPath, mNewestPath);
    remove(mNewestPath);
    step();
}

void GoalSearch::end(const Failure& failure)
{
    mEnded = true;
    mOutcome.failure = failure;
    if (failure)
        removeAll();
    else
        mOutcome.path = mKeptPath;
    // Whoever hears it may let the search go.
    const GoalOutcome outcome = mOutcome;
    emit ended(outcome);
}

void GoalSearch::removeAll()
{
    remove(mNewestPath);
    remove(mKeptPath);
}

// "the smallest result has 812345 bytes, at quality 0", "the best SSIM is 0.9312, at quality 100".
QString GoalSearch::reachedText() const
{
    const Trial& nearest = mOutcome.trials[mOutcome.chosen];
    const bool isPercentage = mTarget.format->isVideo() && mTarget.size;
    const QString setting = isPercentage ? u"aiming at %1 %"_s.arg(nearest.setting, 0, 'f', 1)
                                         : u"at quality %1"_s.arg(nearest.setting);
    if (nearest.score < 0)
        return u"the smallest result has %1 bytes, %2"_s.arg(nearest.bytes).arg(setting);
    const QLatin1String name(mTarget.least->metric->name);
    const QString score = QString::number(nearest.score, 'f', 4);
    if (!mTarget.size)
        return u"the best %1 is %2, %3"_s.arg(name, score, setting);
    return u"the closest result has an %1 of %2 in %3 bytes, %4"_s.arg(name, score)
        .arg(nearest.bytes)
        .arg(setting);
}
