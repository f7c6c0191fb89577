#include "host/output/JsonReporter.h"

#include <QDateTime>
#include <QSysInfo>
#include <QThread>

#include <algorithm>

#include "host/output/Json.h"
#include "host/output/ResultText.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kPaceMs = 100;

// By the outcome; an estimate and a failure have lines of their own.
constexpr Json::Word kOutcomes[] = {Json::kDelivered, Json::kKept, Json::kNotWorth, Json::kSkipped,
                                    Json::kPredicted};
static_assert(int(Outcome::Predicted) + 1 == std::size(kOutcomes));

QJsonObject jobObject(Json::Word type, const JobSpec& job)
{
    QJsonObject object{{Json::kType, type}, {u"job"_s, job.index}};
    Json::addPath(object, Json::kPath, job.inputPath);
    return object;
}

QJsonObject endObject(const JobResult& result)
{
    if (result.outcome == Outcome::Failed) {
        QJsonObject object = jobObject(Json::kError, result.spec);
        object.insert(Json::kKind, QLatin1String(failureId(result.failure.kind)));
        object.insert(Json::kText, failureText(result));
        if (result.failure.kind == FailureKind::EncoderFailed)
            object.insert("code"_L1, result.failure.code);
        if (!result.keptAt.isEmpty())
            Json::addPath(object, "keptAt"_L1, result.keptAt);
        return object;
    }
    const bool isEstimate = result.outcome == Outcome::Estimated;
    QJsonObject object = jobObject(isEstimate ? Json::kEstimate : Json::kResult, result.spec);
    Json::addPath(object, Json::kOutput, result.spec.outputPath);
    object.insert(Json::kBytesBefore, result.bytesBefore);
    object.insert(Json::kSeconds, Json::seconds(result.elapsedMs));
    if (isEstimate) {
        object.insert(Json::kBytesLow, result.estimate->low);
        object.insert(Json::kBytesHigh, result.estimate->high);
        return object;
    }
    object.insert(Json::kOutcome, kOutcomes[int(result.outcome)]);
    if (result.outcome != Outcome::Skipped)
        object.insert(Json::kBytesAfter, result.bytesAfter);
    object.insert(Json::kRuns, result.runs);
    if (result.quality)
        object.insert("quality"_L1, *result.quality);
    if (result.ssim)
        object.insert("ssim"_L1, *result.ssim);
    return object;
}

} // namespace

void JsonReporter::write(const QJsonObject& object)
{
    mChannels.write(Platform::Channel::Output, QString::fromUtf8(Json::line(object)));
}

void JsonReporter::planned(qint64 files, qint64 bytes)
{
    const int cores = QThread::idealThreadCount();
    QJsonObject object{{Json::kType, Json::kRun},
                       {u"version"_s, QLatin1String(VXC_VERSION)},
                       {Json::kHost, QSysInfo::machineHostName()},
                       {Json::kBegan, QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)},
                       {Json::kCores, mJobs > 0 ? std::min(mJobs, cores) : cores},
                       {Json::kFiles, files},
                       {Json::kBytes, bytes}};
    if (!mShard.isWhole())
        object.insert("shard"_L1, mShard.text());
    write(object);
}

void JsonReporter::started(const JobSpec& job)
{
    Running& running = mRunning[job.index];
    running.sinceStart.start();
    QJsonObject object = jobObject(Json::kStart, job);
    Json::addPath(object, Json::kOutput, job.outputPath);
    object.insert(Json::kBytes, job.inputBytes);
    write(object);
}

void JsonReporter::progressed(const JobSpec& job, double share)
{
    Running& running = mRunning[job.index];
    if (running.sinceTold.isValid() && running.sinceTold.elapsed() < kPaceMs)
        return;
    running.sinceTold.start();
    QJsonObject object = jobObject(Json::kProgress, job);
    object.insert("share"_L1, share);
    object.insert(Json::kSeconds, Json::seconds(running.sinceStart.elapsed()));
    write(object);
}

void JsonReporter::settled(const JobResult& result)
{
    mRunning.remove(result.spec.index);
}

void JsonReporter::ended(const JobResult& result)
{
    for (const Warning& warning : result.warnings) {
        QJsonObject object = jobObject(Json::kWarning, result.spec);
        object.insert("id"_L1, warning.id);
        object.insert(Json::kText, warning.text);
        write(object);
    }
    write(endObject(result));
}

void JsonReporter::remarked(const QString& line)
{
    mChannels.write(Platform::Channel::Error, line + u'\n');
}

void JsonReporter::refused(const QString& text)
{
    write({{Json::kType, Json::kError}, {Json::kKind, u"usage"_s}, {Json::kText, text}});
}

void JsonReporter::finished(const RunSummary& summary)
{
    QJsonObject object{{Json::kType, Json::kSummary},
                       {Json::kFiles, summary.files},
                       {Json::kDelivered, summary.delivered},
                       {Json::kKept, summary.kept},
                       {Json::kSkipped, summary.skipped},
                       {Json::kFailed, summary.failed},
                       {u"ignored"_s, summary.ignored},
                       {Json::kBytesBefore, summary.bytesBefore},
                       {Json::kBytesAfter, summary.bytesAfter},
                       {Json::kSeconds, Json::seconds(summary.elapsedMs)},
                       {u"status"_s, summary.status}};
    if (summary.estimate) {
        object.insert(Json::kBytesLow, summary.estimate->low);
        object.insert(Json::kBytesHigh, summary.estimate->high);
    }
    if (summary.signal)
        object.insert("signal"_L1, summary.signal);
    write(object);
}
