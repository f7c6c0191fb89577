#include "host/run/Encode.h"

#include <QFileInfo>

#include "host/system/NativePath.h"

using namespace Qt::StringLiterals;

namespace {

// The one run that makes the result, unless a search tries other settings.
EncodeRequest requestOf(const JobState& job)
{
    const Options& options = job.context.options;
    const Format& format = *job.result.spec.format;
    EncodeRequest request{job.files.sourcePath(), job.files.resultPath(),
                          QString::number(qualityFor(options, format))};
    if (!format.isVideo())
        return request;
    request.scale = options.scale;
    if (options.size) {
        const qint64 before = job.result.bytesBefore;
        request.isPercentage = true;
        request.quality =
            QString::number(100.0 * double(options.size->bytesFor(before)) / double(before), 'f', 3);
    }
    return request;
}

} // namespace

Encode::Encode(JobState& job) : Stage(job), mRequest(requestOf(job)) {}

void Encode::start()
{
    // An image's size beforehand is that of its encode.
    if (options().estimate && spec().format->isVideo())
        estimate();
    else if (options().size || options().minSsim)
        search();
    else
        runOnce();
}

void Encode::stop()
{
    if (mRun)
        mRun->stop();
    if (mSearch)
        mSearch->stop();
    if (mEstimate)
        mEstimate->stop();
}

void Encode::runOnce()
{
    mRun = mJob.context.makeRun(mRequest);
    connect(mRun.get(), &ModuleRun::progressed, this, &Encode::progressed);
    connect(mRun.get(), &ModuleRun::ended, this, [this](const Failure& failure) {
        mJob.result.runs = 1;
        end(failure);
    });
    mRun->start();
}

void Encode::search()
{
    const Format& format = *spec().format;
    const QFileInfo result(mRequest.outputPath);
    SearchTarget target{.inputPath = mRequest.inputPath,
                        .suffix = result.suffix(),
                        .format = &format,
                        .scale = mRequest.scale,
                        .quality = qualityFor(options(), format),
                        .copyCounts = Formats::looksLike(format, mRequest.inputPath),
                        .size = options().size,
                        .least = std::nullopt};
    if (options().minSsim)
        target.least = Score{&kSsim, *options().minSsim};
    // Beside the result, whose folder is private: the chosen one is renamed.
    const auto newPath = [result, tries = 0](const QString& suffix) mutable {
        return u"%1/%2.%3.%4"_s.arg(result.path(), result.completeBaseName(), QString::number(++tries),
                                    suffix);
    };
    mSearch = std::make_unique<GoalSearch>(target, mJob.context.makeRun, newPath);
    connect(mSearch.get(), &GoalSearch::runBegan, this, [this](int number, int atMost) {
        mRunNumber = number;
        mMostRuns = atMost;
    });
    connect(mSearch.get(), &GoalSearch::progressed, this,
            [this](float share) { emit progressed((mRunNumber - 1 + double(share)) / mMostRuns); });
    connect(mSearch.get(), &GoalSearch::ended, this, &Encode::onSearched);
    mSearch->start();
}

void Encode::onSearched(const GoalOutcome& outcome)
{
    JobResult& result = mJob.result;
    result.runs = int(outcome.trials.size());
    if (outcome.chosen >= 0) {
        const Trial& chosen = outcome.trials[outcome.chosen];
        // Of a video with a requested size the setting is a share, and no quality.
        if (!mRequest.isPercentage)
            result.quality = qRound(chosen.setting);
        if (chosen.score >= 0)
            result.ssim = chosen.score;
    }
    // Else an encoder ended well without a file: the check finds none either, and says so.
    if (!outcome.failure && QFileInfo::exists(outcome.path)) {
        const QString error = Platform::rename(outcome.path, mRequest.outputPath, false);
        if (!error.isEmpty())
            return end({FailureKind::DeliveryFailed, error});
    }
    end(outcome.failure);
}

void Encode::estimate()
{
    PrivateFolder& folder = mJob.context.temporaryFolder;
    mEstimate = std::make_unique<VideoEstimate>(
        mRequest, mJob.context.makeRun, [&folder](const QString& suffix) { return folder.newPath(suffix); });
    connect(mEstimate.get(), &VideoEstimate::progressed, this, &Encode::progressed);
    connect(mEstimate.get(), &VideoEstimate::ended, this, &Encode::onEstimated);
    mEstimate->start();
}

void Encode::onEstimated(const EstimateOutcome& outcome)
{
    mJob.result.runs = int(outcome.samples.size());
    SizeRange range = outcome.range;
    if (const auto& size = options().size) {
        // A first encode that misses the requested size is not the last.
        const qint64 goal = size->bytesFor(mJob.result.bytesBefore);
        range = {qMin(range.low, qint64(SizeGoal::kLowestShare * double(goal))), qMin(range.high, goal)};
    }
    if (!outcome.failure)
        mJob.result.estimate = range;
    end(outcome.failure);
}

void Encode::end(Failure failure)
{
    // Not the encoder's fault, whatever it has said.
    if (!Platform::factsOf(NativePath::folder(mRequest.outputPath)))
        failure = {FailureKind::DeliveryFailed, u"its folder is gone"_s};
    emit ended(failure);
}
