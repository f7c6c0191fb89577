#include "host/search/GoalSearch.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <utility>

#include "host/search/SizeSearch.h"
#include "host/search/SsimSearch.h"

using namespace Qt::StringLiterals;

namespace {

// pngquant cannot keep within the limits it was given; other limits may do.
constexpr int kOutOfReachCodes[] = {98, 99};

bool isSameContent(const QString& path, const QString& other)
{
    constexpr qint64 kBlockBytes = 1 << 16;
    QFile a(path);
    QFile b(other);
    if (a.size() != b.size() || !a.open(QIODevice::ReadOnly) || !b.open(QIODevice::ReadOnly))
        return false;
    while (!a.atEnd()) {
        const QByteArray block = a.read(kBlockBytes);
        if (block.isEmpty() || block != b.read(kBlockBytes))
            return false;
    }
    return true;
}

void remove(QString& path)
{
    if (!path.isEmpty())
        QFile::remove(std::exchange(path, {}));
}

std::unique_ptr<SettingSearch> searchFor(const SearchTarget& target)
{
    if (!target.size) {
        return std::make_unique<SsimSearch>(target.minSsim.value_or(0.0), target.quality,
                                            target.isVideo ? QualityScale::video() : QualityScale::image());
    }
    const qint64 sourceBytes = QFileInfo(target.inputPath).size();
    const qint64 goalBytes = target.size->bytesFor(sourceBytes);
    if (target.isVideo)
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
        return end(GoalOutcome::Stopped);
    if (const auto setting = mSearch->next(mOutcome.trials))
        return encode(*setting);

    mOutcome.chosen = mSearch->best(mOutcome.trials);
    if (mOutcome.chosen < 0)
        return end(GoalOutcome::RunFailed);
    const Trial& chosen = mOutcome.trials[mOutcome.chosen];
    if (!mSearch->fits(chosen))
        return end(GoalOutcome::NotMet);
    if (mTarget.minSsim && chosen.ssim < 0)
        return measure(mOutcome.chosen, mKeptPath);
    end(chosen.ssim < mTarget.minSsim.value_or(-1.0) ? GoalOutcome::NotMet : GoalOutcome::Met);
}

void GoalSearch::encode(double setting)
{
    emit runBegan(int(mOutcome.trials.size()) + 1, mSearch->maxTrials());
    if (mStopping)
        return;
    mSetting = setting;
    mNewestPath = mNewPath(mTarget.suffix);
    const bool isPercentage = mTarget.isVideo && mTarget.size;
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
        return end(GoalOutcome::Stopped);
    Trial trial{mSetting};
    if (!failure) {
        const bool isCopy = !mTarget.isVideo && isSameContent(mNewestPath, mTarget.inputPath);
        if (!isCopy || mTarget.copyCounts)
            trial.bytes = QFileInfo(mNewestPath).size();
        if (isCopy)
            trial.ssim = 1.0;
    } else {
        mOutcome.failure = failure;
        const bool isOutOfReach = std::find(std::begin(kOutOfReachCodes), std::end(kOutOfReachCodes),
                                            failure.code) != std::end(kOutOfReachCodes);
        if (!isOutOfReach && mKeptPath.isEmpty() && mOutcome.trials.isEmpty())
            return end(GoalOutcome::RunFailed);
    }
    mOutcome.trials.append(trial);
    if (trial.isUsable() && trial.ssim < 0 && !mTarget.size)
        return measure(int(mOutcome.trials.size()) - 1, mNewestPath);
    judge();
}

void GoalSearch::measure(int index, const QString& path)
{
    mProbe = std::make_unique<SsimProbe>();
    connect(mProbe.get(), &SsimProbe::progressed, this, &GoalSearch::progressed);
    connect(mProbe.get(), &SsimProbe::ended, this, [this, index](double ssim) {
        retire(mProbe);
        if (ssim < 0)
            return end(GoalOutcome::MeasureFailed);
        mOutcome.trials[index].ssim = ssim;
        judge();
    });
    mProbe->start(path, mTarget.inputPath, mTarget.isVideo ? SsimProbe::Kind::Video : SsimProbe::Kind::Image);
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

void GoalSearch::end(GoalOutcome::Kind kind)
{
    mEnded = true;
    if (kind == GoalOutcome::Met)
        mOutcome.path = mKeptPath;
    else
        removeAll();
    mOutcome.kind = kind;
    // Whoever hears it may let the search go.
    const GoalOutcome outcome = mOutcome;
    emit ended(outcome);
}

void GoalSearch::removeAll()
{
    remove(mNewestPath);
    remove(mKeptPath);
}

QString reachedText(const SearchTarget& target, const GoalOutcome& outcome)
{
    const Trial& nearest = outcome.trials[outcome.chosen];
    const bool isPercentage = target.isVideo && target.size;
    const QString setting = isPercentage ? u"aiming at %1 %"_s.arg(nearest.setting, 0, 'f', 1)
                                         : u"at quality %1"_s.arg(nearest.setting);
    const QString ssim = QString::number(nearest.ssim, 'f', 4);
    if (!target.size)
        return u"the best SSIM is %1, %2"_s.arg(ssim, setting);
    if (nearest.ssim < 0)
        return u"the smallest result has %1 bytes, %2"_s.arg(nearest.bytes).arg(setting);
    return u"the closest result has an SSIM of %1 in %2 bytes, %3"_s.arg(ssim)
        .arg(nearest.bytes)
        .arg(setting);
}
