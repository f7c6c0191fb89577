#pragma once

#include <QJsonObject>
#include <QString>

/// The words of what programs read that have more than one user: the writers and the report's reader take
/// them from here. A word stays what it is, since scripts compare it.
namespace Json {

using Word = QLatin1StringView;

inline constexpr Word kType("type");
// The types of the lines of a run.
inline constexpr Word kRun("run");
inline constexpr Word kStart("start");
inline constexpr Word kProgress("progress");
inline constexpr Word kWarning("warning");
inline constexpr Word kEstimate("estimate");
inline constexpr Word kResult("result");
inline constexpr Word kError("error");
inline constexpr Word kSummary("summary");

// Of a run or a sum of runs.
inline constexpr Word kHost("host");
inline constexpr Word kBegan("began");
inline constexpr Word kCores("cores");
inline constexpr Word kFiles("files");

// Of a job.
inline constexpr Word kPath("path");
inline constexpr Word kOutput("output");
inline constexpr Word kOutcome("outcome");
inline constexpr Word kRuns("runs");
inline constexpr Word kKind("kind");
inline constexpr Word kText("text");

inline constexpr Word kBytes("bytes");
inline constexpr Word kBytesBefore("bytesBefore");
inline constexpr Word kBytesAfter("bytesAfter");
inline constexpr Word kBytesLow("bytesLow");
inline constexpr Word kBytesHigh("bytesHigh");
inline constexpr Word kSeconds("seconds");

// What came of a job, and in a sum of how many.
inline constexpr Word kDelivered("delivered");
inline constexpr Word kKept("kept");
inline constexpr Word kNotWorth("not-worth");
inline constexpr Word kSkipped("skipped");
inline constexpr Word kPredicted("predicted");
inline constexpr Word kFailed("failed");

/// Times are told in seconds.
inline double seconds(qint64 ms)
{
    return double(ms) / 1000;
}

/// The object as one line.
QByteArray line(const QJsonObject& object);

/// A path in NativePath's text form, in and out of an object: one that is no text stands there as its bytes,
/// too.
void addPath(QJsonObject& object, Word key, const QString& path);
QString pathIn(const QJsonObject& object, Word key);

} // namespace Json
