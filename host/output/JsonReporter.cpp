#include "host/output/JsonReporter.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QSysInfo>
#include <QThread>

#include <algorithm>

#include "host/output/FailureText.h"
#include "host/system/NativePath.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kPaceMs = 100;

double seconds(qint64 ms)
{
    return double(ms) / 1000;
}

// A name that is no text is told as its bytes, too.
void addPath(QJsonObject& object, const QString& key, const QString& path)
{
    QString text = path;
#ifndef Q_OS_WIN
    if (!NativePath::isPlain(path)) {
        const QByteArray bytes = NativePath::toBytes(path);
        text = QString::fromUtf8(bytes);
        object.insert(key + "Bytes"_L1, QString::fromLatin1(bytes.toBase64()));
    }
#endif
    object.insert(key, text);
}

QJsonObject jobObject(const char* type, const JobSpec& job)
{
    QJsonObject object{{u"type"_s, QLatin1String(type)}, {u"job"_s, job.index}};
    addPath(object, u"path"_s, job.inputPath);
    return object;
}

const char* outcomeId(Outcome outcome)
{
    switch (outcome) {
    case Outcome::Delivered:
        return "delivered";
    case Outcome::Kept:
        return "kept";
    case Outcome::NotWorth:
        return "not-worth";
    case Outcome::Skipped:
        return "skipped";
    case Outcome::Predicted:
        return "predicted";
    case Outcome::Estimated:
        return "estimated";
    case Outcome::Failed:
        break;
    }
    return "failed";
}

QJsonObject endObject(const JobResult& result)
{
    if (result.outcome == Outcome::Failed) {
        QJsonObject object = jobObject("error", result.spec);
        object.insert(u"kind"_s, QLatin1String(failureId(result.failure.kind)));
        object.insert(u"text"_s, failureText(result));
        if (result.failure.kind == FailureKind::EncoderFailed)
            object.insert(u"code"_s, result.failure.code);
        if (!result.keptAt.isEmpty())
            addPath(object, u"keptAt"_s, result.keptAt);
        return object;
    }
    const bool isEstimate = result.outcome == Outcome::Estimated;
    QJsonObject object = jobObject(isEstimate ? "estimate" : "result", result.spec);
    addPath(object, u"output"_s, result.spec.outputPath);
    object.insert(u"bytesBefore"_s, result.bytesBefore);
    object.insert(u"seconds"_s, seconds(result.elapsedMs));
    if (isEstimate) {
        object.insert(u"bytesLow"_s, result.estimate->low);
        object.insert(u"bytesHigh"_s, result.estimate->high);
        return object;
    }
    object.insert(u"outcome"_s, QLatin1String(outcomeId(result.outcome)));
    if (result.outcome != Outcome::Skipped)
        object.insert(u"bytesAfter"_s, result.bytesAfter);
    object.insert(u"runs"_s, result.runs);
    if (result.quality)
        object.insert(u"quality"_s, *result.quality);
    if (result.ssim)
        object.insert(u"ssim"_s, *result.ssim);
    return object;
}

} // namespace

void JsonReporter::write(const QJsonObject& object)
{
    mChannels.write(Platform::Channel::Output,
                    QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)) + u'\n');
}

void JsonReporter::planned(qint64 files, qint64 bytes)
{
    const int cores = QThread::idealThreadCount();
    QJsonObject object{{u"type"_s, u"run"_s},
                       {u"version"_s, QLatin1String(VXC_VERSION)},
                       {u"host"_s, QSysInfo::machineHostName()},
                       {u"began"_s, QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)},
                       {u"cores"_s, mJobs > 0 ? std::min(mJobs, cores) : cores},
                       {u"files"_s, files},
                       {u"bytes"_s, bytes}};
    if (!mShard.isWhole())
        object.insert(u"shard"_s, mShard.text());
    write(object);
}

void JsonReporter::started(const JobSpec& job)
{
    Running& running = mRunning[job.index];
    running.sinceStart.start();
    QJsonObject object = jobObject("start", job);
    addPath(object, u"output"_s, job.outputPath);
    object.insert(u"bytes"_s, job.inputBytes);
    write(object);
}

void JsonReporter::progressed(const JobSpec& job, double share)
{
    Running& running = mRunning[job.index];
    if (running.sinceTold.isValid() && running.sinceTold.elapsed() < kPaceMs)
        return;
    running.sinceTold.start();
    QJsonObject object = jobObject("progress", job);
    object.insert(u"share"_s, share);
    object.insert(u"seconds"_s, seconds(running.sinceStart.elapsed()));
    write(object);
}

void JsonReporter::settled(const JobResult& result)
{
    mRunning.remove(result.spec.index);
}

void JsonReporter::ended(const JobResult& result)
{
    for (const Warning& warning : result.warnings) {
        QJsonObject object = jobObject("warning", result.spec);
        object.insert(u"id"_s, warning.id);
        object.insert(u"text"_s, warning.text);
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
    write({{u"type"_s, u"error"_s}, {u"kind"_s, u"usage"_s}, {u"text"_s, text}});
}

void JsonReporter::finished(const RunSummary& summary)
{
    QJsonObject object{{u"type"_s, u"summary"_s},
                       {u"files"_s, summary.files},
                       {u"delivered"_s, summary.delivered},
                       {u"kept"_s, summary.kept},
                       {u"skipped"_s, summary.skipped},
                       {u"failed"_s, summary.failed},
                       {u"passedOver"_s, summary.passedOver},
                       {u"bytesBefore"_s, summary.bytesBefore},
                       {u"bytesAfter"_s, summary.bytesAfter},
                       {u"seconds"_s, seconds(summary.elapsedMs)},
                       {u"status"_s, summary.status}};
    if (summary.estimate) {
        object.insert(u"bytesLow"_s, summary.estimate->low);
        object.insert(u"bytesHigh"_s, summary.estimate->high);
    }
    if (summary.signal)
        object.insert(u"signal"_s, summary.signal);
    write(object);
}
