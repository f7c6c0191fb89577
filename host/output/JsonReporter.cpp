#include "host/output/JsonReporter.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QSysInfo>
#include <QThread>

#include <algorithm>

#include "host/output/FailureText.h"
#include "host/system/NativePath.h"

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
        object.insert(key + QLatin1String("Bytes"), QString::fromLatin1(bytes.toBase64()));
    }
#endif
    object.insert(key, text);
}

QJsonObject jobObject(const char* type, const JobSpec& job)
{
    QJsonObject object{{QStringLiteral("type"), QLatin1String(type)}, {QStringLiteral("job"), job.index}};
    addPath(object, QStringLiteral("path"), job.inputPath);
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
        object.insert(QStringLiteral("kind"), QLatin1String(failureId(result.failure.kind)));
        object.insert(QStringLiteral("text"), failureText(result));
        if (result.failure.kind == FailureKind::EncoderFailed)
            object.insert(QStringLiteral("code"), result.failure.code);
        if (!result.keptAt.isEmpty())
            addPath(object, QStringLiteral("keptAt"), result.keptAt);
        return object;
    }
    const bool isEstimate = result.outcome == Outcome::Estimated;
    QJsonObject object = jobObject(isEstimate ? "estimate" : "result", result.spec);
    addPath(object, QStringLiteral("output"), result.spec.outputPath);
    object.insert(QStringLiteral("bytesBefore"), result.bytesBefore);
    object.insert(QStringLiteral("seconds"), seconds(result.elapsedMs));
    if (isEstimate) {
        object.insert(QStringLiteral("bytesLow"), result.estimate->low);
        object.insert(QStringLiteral("bytesHigh"), result.estimate->high);
        return object;
    }
    object.insert(QStringLiteral("outcome"), QLatin1String(outcomeId(result.outcome)));
    if (result.outcome != Outcome::Skipped)
        object.insert(QStringLiteral("bytesAfter"), result.bytesAfter);
    object.insert(QStringLiteral("runs"), result.runs);
    if (result.quality)
        object.insert(QStringLiteral("quality"), *result.quality);
    if (result.ssim)
        object.insert(QStringLiteral("ssim"), *result.ssim);
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
    QJsonObject object{{QStringLiteral("type"), QStringLiteral("run")},
                       {QStringLiteral("version"), QStringLiteral(VXC_VERSION)},
                       {QStringLiteral("host"), QSysInfo::machineHostName()},
                       {QStringLiteral("began"), QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)},
                       {QStringLiteral("cores"), mJobs > 0 ? std::min(mJobs, cores) : cores},
                       {QStringLiteral("files"), files},
                       {QStringLiteral("bytes"), bytes}};
    if (!mShard.isWhole())
        object.insert(QStringLiteral("shard"), mShard.text());
    write(object);
}

void JsonReporter::started(const JobSpec& job)
{
    Running& running = mRunning[job.index];
    running.sinceStart.start();
    QJsonObject object = jobObject("start", job);
    addPath(object, QStringLiteral("output"), job.outputPath);
    object.insert(QStringLiteral("bytes"), job.inputBytes);
    write(object);
}

void JsonReporter::progressed(const JobSpec& job, double share)
{
    Running& running = mRunning[job.index];
    if (running.sinceTold.isValid() && running.sinceTold.elapsed() < kPaceMs)
        return;
    running.sinceTold.start();
    QJsonObject object = jobObject("progress", job);
    object.insert(QStringLiteral("share"), share);
    object.insert(QStringLiteral("seconds"), seconds(running.sinceStart.elapsed()));
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
        object.insert(QStringLiteral("id"), warning.id);
        object.insert(QStringLiteral("text"), warning.text);
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
    write({{QStringLiteral("type"), QStringLiteral("error")},
           {QStringLiteral("kind"), QStringLiteral("usage")},
           {QStringLiteral("text"), text}});
}

void JsonReporter::finished(const RunSummary& summary)
{
    QJsonObject object{{QStringLiteral("type"), QStringLiteral("summary")},
                       {QStringLiteral("files"), summary.files},
                       {QStringLiteral("delivered"), summary.delivered},
                       {QStringLiteral("kept"), summary.kept},
                       {QStringLiteral("skipped"), summary.skipped},
                       {QStringLiteral("failed"), summary.failed},
                       {QStringLiteral("passedOver"), summary.passedOver},
                       {QStringLiteral("bytesBefore"), summary.bytesBefore},
                       {QStringLiteral("bytesAfter"), summary.bytesAfter},
                       {QStringLiteral("seconds"), seconds(summary.elapsedMs)},
                       {QStringLiteral("status"), summary.status}};
    if (summary.estimate) {
        object.insert(QStringLiteral("bytesLow"), summary.estimate->low);
        object.insert(QStringLiteral("bytesHigh"), summary.estimate->high);
    }
    if (summary.signal)
        object.insert(QStringLiteral("signal"), summary.signal);
    write(object);
}
