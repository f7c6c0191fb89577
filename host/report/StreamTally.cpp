#include "host/report/StreamTally.h"

#include <QJsonDocument>

#include <algorithm>
#include <cmath>

#include "host/system/PathText.h"
#include "host/system/NativePath.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMaxSlowest = 20;
constexpr qsizetype kDurations = 16;
constexpr qint64 kMostCores = 1'000'000;

QJsonObject objectIn(const QByteArray& text)
{
    const QJsonObject object = QJsonDocument::fromJson(text).object();
    return object.value("type"_L1).isString() ? object : QJsonObject();
}

qint64 whole(const QJsonObject& object, QLatin1StringView name)
{
    return std::max<qint64>(object.value(name).toInteger(), 0);
}

// A stream tells whole milliseconds, of less than some thirty years.
double secondsIn(const QJsonObject& object)
{
    const double seconds = std::clamp(object.value("seconds"_L1).toDouble(), 0.0, 1e9);
    return std::round(seconds * 1000) / 1000;
}

// Failures and the rest, where a name may have come with any byte.
QString text(const QJsonObject& object, QLatin1StringView name)
{
    return shown(object.value(name).toString());
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
    // The beginning of a line that was cut, with what the next run wrote behind it.
    for (qsizetype at = trimmed.indexOf('{', 1); at > 0 && object.isEmpty();
         at = trimmed.indexOf('{', at + 1))
        object = objectIn(QByteArray::fromRawData(trimmed.constData() + at, trimmed.size() - at));
    if (trimmed.startsWith('{'))
        ++mSum.cutLines;
    else
        ++mSum.foreignLines;
    return !object.isEmpty() ? add(object) : trimmed.startsWith('{');
}

bool StreamTally::add(const QJsonObject& object)
{
    const QString type = object.value("type"_L1).toString();
    if (type == "run"_L1) {
        begin(object);
    } else if (type == "start"_L1) {
        Record record;
        record.before = whole(object, "bytes"_L1);
        note(keyOf(object), record);
    } else if (type == "result"_L1 || type == "estimate"_L1) {
        addEnd(object);
    } else if (type == "error"_L1) {
        addError(object);
    } else if (type == "summary"_L1) {
        addSummary(object);
    } else if (type != "progress"_L1 && type != "warning"_L1) {
        ++mSum.foreignLines;
        return false;
    }
    return true;
}

void StreamTally::begin(const QJsonObject& object)
{
    endStream();
    mIsOpen = true;
    ++mSum.runs;
    mRun.host = text(object, "host"_L1);
    mRun.cores = int(std::clamp<qint64>(whole(object, "cores"_L1), 1, kMostCores));
    mRun.began = QDateTime::fromString(object.value("began"_L1).toString(), Qt::ISODateWithMs);
    ++mSum.machines[mRun.host].runs;
    if (mRun.began.isValid() && (!mFirst.isValid() || mRun.began < mFirst))
        mFirst = mRun.began;
}

void StreamTally::endStream()
{
    if (mIsOpen)
        ++mSum.runsWithoutEnd;
    mIsOpen = false;
    mRun = Run();
}

void StreamTally::addEnd(const QJsonObject& object)
{
    static const QHash<QString, End> kEnds{{u"delivered"_s, End::Delivered}, {u"kept"_s, End::Kept},
                                           {u"not-worth"_s, End::NotWorth},  {u"skipped"_s, End::Skipped},
                                           {u"predicted"_s, End::Predicted}, {QString(), End::Predicted}};
    Record record;
    record.end = kEnds.value(object.value("outcome"_L1).toString(), End::Predicted);
    record.before = whole(object, "bytesBefore"_L1);
    // What is not worth it stays as it is.
    record.after = record.end == End::NotWorth ? record.before : whole(object, "bytesAfter"_L1);
    record.seconds = float(secondsIn(object));
    record.kind = kindOf(object);
    note(keyOf(object), record);
    if (record.end != End::Skipped) {
        ++mRun.files;
        Findings::add(mRun.bytes, record.before);
    }
}

void StreamTally::addError(const QJsonObject& object)
{
    const QByteArray key = keyOf(object);
    if (key.isEmpty()) {
        mSum.runErrors.append(text(object, "text"_L1));
        return;
    }
    Record record;
    record.end = End::Failed;
    note(key, record);
    mFaults.insert(key, {text(object, "kind"_L1), text(object, "text"_L1)});
}

void StreamTally::addSummary(const QJsonObject& object)
{
    const double seconds = secondsIn(object);
    if (mIsOpen) {
        Findings::Machine& machine = mSum.machines[mRun.host];
        machine.files += mRun.files;
        Findings::add(machine.bytes, mRun.bytes);
        machine.coreSeconds += seconds * mRun.cores;
        const QDateTime ended = mRun.began.addMSecs(qint64(seconds * 1000));
        if (ended.isValid() && (!mLast.isValid() || ended > mLast))
            mLast = ended;
    }
    mIsOpen = false;
    mRun = Run();
}

// A file with a name that is no text has its bytes told, too.
QByteArray StreamTally::keyOf(const QJsonObject& object)
{
    const QString bytes = object.value("pathBytes"_L1).toString();
    return bytes.isEmpty() ? object.value("path"_L1).toString().toUtf8()
                           : QByteArray::fromBase64(bytes.toLatin1());
}

QString StreamTally::nameOf(const QByteArray& key)
{
#ifdef Q_OS_WIN
    return shown(QString::fromUtf8(key));
#else
    return shown(NativePath::fromBytes(key));
#endif
}

quint16 StreamTally::kindOf(const QJsonObject& object)
{
    QString kind = text({{u"suffix"_s, NativePath::suffix(object.value("output"_L1).toString()).toLower()}},
                        "suffix"_L1);
    if (kind == "jpeg"_L1)
        kind = u"jpg"_s;
    qsizetype at = mKinds.indexOf(kind);
    if (at < 0) {
        at = mKinds.size();
        mKinds.append(kind);
    }
    return quint16(std::min<qsizetype>(at, 0xffff));
}

void StreamTally::note(const QByteArray& key, const Record& record)
{
    const auto found = mFiles.find(key);
    if (found == mFiles.end())
        mFiles.insert(key, record);
    else if (record.end >= found->end)
        *found = record;
}

void StreamTally::countFile(Findings& sum, const Record& record, const QStringList& kinds)
{
    ++sum.files;
    switch (record.end) {
    case End::Unfinished:
        ++sum.unfinished;
        return;
    case End::Failed:
        ++sum.failed;
        return;
    case End::Skipped:
        ++sum.skipped;
        return;
    case End::Predicted:
        ++sum.predicted;
        return;
    case End::Kept:
    case End::NotWorth:
        ++sum.kept;
        break;
    case End::Delivered:
        ++sum.delivered;
        break;
    }
    Findings::add(sum.bytesBefore, record.before);
    Findings::add(sum.bytesAfter, record.after);
    Findings::Kind& kind = sum.kinds[kinds.value(record.kind)];
    ++kind.files;
    Findings::add(kind.bytesBefore, record.before);
    Findings::add(kind.bytesAfter, record.after);
    kind.seconds += double(record.seconds);
    qsizetype duration = 0;
    for (double limit = Findings::kFirstDuration;
         double(record.seconds) >= limit && duration < kDurations - 1; limit *= 2)
        ++duration;
    ++sum.durations[duration];
}

void StreamTally::listFiles(Findings& sum) const
{
    const auto isSlower = [](const Findings::Slow& one, const Findings::Slow& other) {
        return one.seconds != other.seconds ? one.seconds > other.seconds : one.path < other.path;
    };
    for (auto file = mFiles.begin(); file != mFiles.end(); ++file) {
        countFile(sum, *file, mKinds);
        if (file->end == End::Failed) {
            const Fault fault = mFaults.value(file.key());
            sum.failures.append({nameOf(file.key()), fault.kind, fault.text});
        } else if (file->end == End::Unfinished) {
            sum.failures.append({nameOf(file.key()), u"unfinished"_s, u"its run was killed"_s});
        } else if (file->end >= End::Kept) {
            if (sum.slowest.size() == kMaxSlowest && double(file->seconds) < sum.slowest.last().seconds)
                continue;
            const Findings::Slow slow{nameOf(file.key()), double(file->seconds), file->before};
            sum.slowest.insert(std::upper_bound(sum.slowest.begin(), sum.slowest.end(), slow, isSlower),
                               slow);
            if (sum.slowest.size() > kMaxSlowest)
                sum.slowest.removeLast();
        }
    }
    std::sort(sum.failures.begin(), sum.failures.end(),
              [](const auto& one, const auto& other) { return one.path < other.path; });
}

Findings StreamTally::findings() const
{
    Findings sum = mSum;
    sum.durations.fill(0, kDurations);
    listFiles(sum);
    while (!sum.durations.isEmpty() && sum.durations.last() == 0)
        sum.durations.removeLast();
    if (mFirst.isValid() && mLast.isValid())
        sum.spanSeconds = double(mFirst.msecsTo(mLast)) / 1000;
    return sum;
}
