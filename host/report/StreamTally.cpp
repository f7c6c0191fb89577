#include "host/report/StreamTally.h"

#include <QJsonDocument>

#include <algorithm>
#include <cmath>

#include "host/system/NativePath.h"
#include "host/system/PathText.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMaxSlowest = 20;
constexpr qsizetype kDurations = 16;
constexpr qint64 kMostCores = 1'000'000;
// Some thirty years.
constexpr double kMostSeconds = 1e9;

QJsonObject objectIn(const QByteArray& text)
{
    const QJsonObject object = QJsonDocument::fromJson(text).object();
    return object.value(Json::kType).isString() ? object : QJsonObject();
}

qint64 whole(const QJsonObject& object, Json::Word key)
{
    return std::max<qint64>(object.value(key).toInteger(), 0);
}

qint64 msIn(const QJsonObject& object)
{
    return std::llround(std::clamp(object.value(Json::kSeconds).toDouble(), 0.0, kMostSeconds) * 1000);
}

// A name, too, may come with any byte.
QString text(const QJsonObject& object, Json::Word key)
{
    return shown(object.value(key).toString());
}

QString kindOf(const QJsonObject& object)
{
    const QString suffix = shown(NativePath::suffix(object.value(Json::kOutput).toString()).toLower());
    return suffix == "jpeg"_L1 ? u"jpg"_s : suffix;
}

} // namespace

bool StreamTally::addLine(const QByteArray& line)
{
    const QByteArray trimmed = line.trimmed();
    if (trimmed.isEmpty())
        return true;
    QJsonObject object = objectIn(trimmed);
    if (!object.isEmpty())
        return add(object);
    // The beginning of a line that was cut, followed by what the next run wrote.
    for (qsizetype at = trimmed.indexOf('{', 1); at > 0 && object.isEmpty();
         at = trimmed.indexOf('{', at + 1))
        object = objectIn(QByteArray::fromRawData(trimmed.constData() + at, trimmed.size() - at));
    const bool isCut = trimmed.startsWith('{');
    ++(isCut ? mSum.cutLines : mSum.foreignLines);
    return object.isEmpty() ? isCut : add(object);
}

bool StreamTally::add(const QJsonObject& object)
{
    const QString type = object.value(Json::kType).toString();
    if (type == Json::kRun) {
        addRun(object);
    } else if (type == Json::kStart) {
        note(object, {.before = whole(object, Json::kBytes),
                      .kind = u"unfinished"_s,
                      .text = u"its run was killed"_s});
    } else if (type == Json::kResult || type == Json::kEstimate) {
        addEnd(object);
    } else if (type == Json::kError) {
        addError(object);
    } else if (type == Json::kSummary) {
        addSummary(object);
    } else if (type != Json::kProgress && type != Json::kWarning) {
        ++mSum.foreignLines;
        return false;
    }
    return true;
}

void StreamTally::addRun(const QJsonObject& object)
{
    endStream();
    mRun = {.host = text(object, Json::kHost),
            .began = QDateTime::fromString(object.value(Json::kBegan).toString(), Qt::ISODateWithMs),
            .cores = std::clamp<qint64>(whole(object, Json::kCores), 1, kMostCores)};
    ++mSum.runs;
    ++mSum.machines[mRun->host].runs;
    if (mRun->began.isValid() && (!mFirst.isValid() || mRun->began < mFirst))
        mFirst = mRun->began;
}

void StreamTally::endStream()
{
    mSum.runsWithoutEnd += mRun.has_value();
    mRun.reset();
}

void StreamTally::addEnd(const QJsonObject& object)
{
    static const QHash<QString, FileEnd> kEnds{{Json::kDelivered, FileEnd::Delivered},
                                               {Json::kKept, FileEnd::Kept},
                                               {Json::kNotWorth, FileEnd::Kept},
                                               {Json::kSkipped, FileEnd::Skipped}};
    const QString outcome = object.value(Json::kOutcome).toString();
    Findings::File file{.before = whole(object, Json::kBytesBefore),
                        .after = whole(object, Json::kBytesAfter),
                        .ms = msIn(object),
                        .kind = kindOf(object),
                        .end = kEnds.value(outcome, FileEnd::Predicted)};
    // What is not worth it stays as it is.
    if (outcome == Json::kNotWorth)
        file.after = file.before;
    note(object, file);
    if (mRun && file.end != FileEnd::Skipped) {
        ++mRun->files;
        Findings::add(mRun->bytes, file.before);
    }
}

void StreamTally::addError(const QJsonObject& object)
{
    if (Json::pathIn(object, Json::kPath).isEmpty())
        mSum.runErrors.append(text(object, Json::kText));
    else
        note(object,
             {.kind = text(object, Json::kKind), .text = text(object, Json::kText), .end = FileEnd::Failed});
}

void StreamTally::addSummary(const QJsonObject& object)
{
    if (!mRun)
        return;
    const qint64 ms = msIn(object);
    for (Findings::Machine* machine : {&mSum.machines[mRun->host], &mSum.all}) {
        machine->files += mRun->files;
        Findings::add(machine->bytes, mRun->bytes);
        Findings::add(machine->coreMs, ms * mRun->cores);
    }
    const QDateTime ended = mRun->began.addMSecs(ms);
    if (ended.isValid() && (!mLast.isValid() || ended > mLast))
        mLast = ended;
    mRun.reset();
}

void StreamTally::note(const QJsonObject& object, const Findings::File& file)
{
    Findings::File& known = mFiles[Json::pathIn(object, Json::kPath)];
    if (file.end >= known.end)
        known = file;
}

void StreamTally::countDone(Findings& sum, const Findings::File& file)
{
    Findings::add(sum.bytesBefore, file.before);
    Findings::add(sum.bytesAfter, file.after);
    Findings::Kind& kind = sum.kinds[file.kind];
    ++kind.files;
    Findings::add(kind.bytesBefore, file.before);
    Findings::add(kind.bytesAfter, file.after);
    Findings::add(kind.ms, file.ms);
    qsizetype duration = 0;
    while (duration < kDurations - 1 && file.ms >= Findings::kFirstDurationMs << duration)
        ++duration;
    sum.durations.resize(std::max(sum.durations.size(), duration + 1));
    ++sum.durations[duration];
}

Findings StreamTally::findings() const
{
    Findings sum = mSum;
    if (mFirst.isValid() && mLast.isValid())
        sum.spanMs = mFirst.msecsTo(mLast);
    const auto isSlower = [](const Findings::File& one, const Findings::File& other) {
        return one.ms != other.ms ? one.ms > other.ms : one.path < other.path;
    };
    for (const auto& [path, known] : mFiles.asKeyValueRange()) {
        ++sum.ends[size_t(known.end)];
        const bool isDone = known.end >= FileEnd::Kept;
        if (isDone)
            countDone(sum, known);
        // Of a million files most are named nowhere.
        const bool isSlow = isDone && (sum.slowest.size() < kMaxSlowest || known.ms >= sum.slowest.last().ms);
        if (!isSlow && known.end > FileEnd::Failed)
            continue;
        Findings::File file = known;
        file.path = shown(path);
        if (!isDone) {
            sum.failures.append(file);
            continue;
        }
        sum.slowest.insert(std::upper_bound(sum.slowest.begin(), sum.slowest.end(), file, isSlower), file);
        sum.slowest.resize(std::min(sum.slowest.size(), kMaxSlowest));
    }
    std::sort(sum.failures.begin(), sum.failures.end(),
              [](const auto& one, const auto& other) { return one.path < other.path; });
    return sum;
}
