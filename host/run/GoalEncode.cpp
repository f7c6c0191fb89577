#include "host/run/GoalEncode.h"

#include <QFileInfo>

#include "host/job/Format.h"
#include "host/job/Options.h"
#include "host/system/PlatformFiles.h"

using namespace Qt::StringLiterals;

namespace {

SearchTarget targetOf(const EncodeContext& context)
{
    const Format& format = *context.spec.format;
    SearchTarget target;
    target.inputPath = context.sourcePath;
    target.suffix = QFileInfo(context.resultPath).suffix();
    target.scale = format.isVideo() ? context.options.scale : QString();
    target.isVideo = format.isVideo();
    target.quality = qualityFor(context.options, format);
    target.copyCounts = Formats::looksLike(format, context.sourcePath);
    target.size = context.options.size;
    target.minSsim = context.options.minSsim;
    return target;
}

} // namespace

GoalEncode::GoalEncode(const EncodeContext& context)
    : Encode(context), mTarget(targetOf(context)),
      mSearch(mTarget, context.makeRun,
              // Beside the result, whose folder is private: the chosen one is renamed.
              [this, result = QFileInfo(context.resultPath)](const QString& suffix) {
                  return u"%1/%2.%3.%4"_s.arg(result.path(), result.completeBaseName(),
                                              QString::number(++mTries), suffix);
              })
{
    connect(&mSearch, &GoalSearch::runBegan, this, [this](int number, int atMost) {
        mRun = number;
        mMostRuns = atMost;
    });
    connect(&mSearch, &GoalSearch::progressed, this,
            [this](float share) { emit progressed((mRun - 1 + double(share)) / mMostRuns); });
    connect(&mSearch, &GoalSearch::ended, this, &GoalEncode::onEnded);
}

void GoalEncode::onEnded(const GoalOutcome& outcome)
{
    EncodeEnd end;
    end.runs = int(outcome.trials.size());
    if (outcome.chosen >= 0) {
        const Trial& chosen = outcome.trials[outcome.chosen];
        // Of a video with a requested size the setting is a share, and no quality.
        if (!mTarget.isVideo || !mTarget.size)
            end.quality = qRound(chosen.setting);
        if (chosen.ssim >= 0)
            end.ssim = chosen.ssim;
    }
    switch (outcome.kind) {
    case GoalOutcome::Met: {
        // An encoder that ended well without a file: the job finds none either, and says so.
        if (!QFileInfo::exists(outcome.path))
            break;
        const QString error = Platform::rename(outcome.path, context().resultPath, false);
        if (!error.isEmpty())
            end.failure = {FailureKind::DeliveryFailed, error};
        break;
    }
    case GoalOutcome::NotMet:
        end.failure = {FailureKind::AimUnreached, reachedText(mTarget, outcome)};
        break;
    case GoalOutcome::RunFailed:
        // Every run may have ended well with a copy of the source, which is no result of another kind.
        end.failure = outcome.failure
                          ? outcome.failure
                          : Failure{FailureKind::AimUnreached, u"nothing smaller than the source"_s};
        break;
    case GoalOutcome::MeasureFailed:
        end.failure = {FailureKind::MeasureFailed, u"it could not be compared with its result"_s};
        break;
    case GoalOutcome::Stopped:
        end.failure = {FailureKind::Interrupted, QString()};
        break;
    }
    emit ended(end);
}
