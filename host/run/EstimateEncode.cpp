#include "host/run/EstimateEncode.h"

#include <QFileInfo>

#include "host/job/Options.h"
#include "host/system/PrivateFolder.h"

using namespace Qt::StringLiterals;

namespace {

EncodeRequest requestOf(const EncodeContext& context)
{
    const Options& options = context.options;
    EncodeRequest request;
    request.inputPath = context.sourcePath;
    request.outputPath = context.resultPath;
    request.quality = QString::number(qualityFor(options, *context.spec.format));
    if (options.size) {
        const qint64 sourceBytes = QFileInfo(context.sourcePath).size();
        request.isPercentage = true;
        request.quality = QString::number(
            100.0 * double(options.size->bytesFor(sourceBytes)) / double(sourceBytes), 'f', 3);
    }
    request.scale = options.scale;
    return request;
}

// A first encode that misses the asked size is not the last.
SizeRange corrected(const EstimatedSize& first, const EncodeContext& context)
{
    if (!context.options.size)
        return {first.low, first.high};
    const qint64 goal = context.options.size->bytesFor(QFileInfo(context.sourcePath).size());
    const auto least = qint64(SizeGoal::kLowestShare * double(goal));
    return {qMin(first.low, least), qMin(first.high, goal)};
}

} // namespace

EstimateEncode::EstimateEncode(const EncodeContext& context)
    : Encode(context),
      mEstimate(requestOf(context), context.makeRun,
                [&folder = context.folder](const QString& suffix) { return folder.newPath(suffix); })
{
    connect(&mEstimate, &VideoEstimate::progressed, this, &Encode::progressed);
    connect(&mEstimate, &VideoEstimate::ended, this, &EstimateEncode::onEnded);
}

void EstimateEncode::onEnded(const EstimateOutcome& outcome)
{
    EncodeEnd end;
    end.runs = int(outcome.samples.size());
    const EstimatedSize& range = outcome.range;
    switch (outcome.kind) {
    case EstimateOutcome::Estimated:
        end.estimate = corrected(range, context());
        break;
    case EstimateOutcome::UnknownLength:
        end.failure = {FailureKind::MeasureFailed,
                       u"its length is not known; a minute of it becomes %1 to %2 bytes"_s.arg(range.low).arg(
                           range.high)};
        break;
    case EstimateOutcome::RunFailed:
        end.failure = outcome.failure;
        break;
    case EstimateOutcome::NoSample:
        end.failure = {FailureKind::MeasureFailed, u"its samples are no video to judge by"_s};
        break;
    case EstimateOutcome::Stopped:
        end.failure = {FailureKind::Interrupted, QString()};
        break;
    }
    emit ended(end);
}
