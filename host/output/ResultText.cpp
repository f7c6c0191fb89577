#include "host/output/ResultText.h"

#include <algorithm>

#include "host/output/SizeText.h"
#include "host/system/PathText.h"

using namespace Qt::StringLiterals;

namespace {

// Before that, speed and time left are guesswork.
constexpr qint64 kWarmUpMs = 1000;

QString savingRangeText(qint64 before, SizeRange after)
{
    const auto percentOf = [before](qint64 bytes) { return qRound(100.0 * double(bytes) / double(before)); };
    const int low = percentOf(after.low);
    const int high = percentOf(after.high);
    if (high <= 100)
        return u"saves %1 to %2 %"_s.arg(100 - high).arg(100 - low);
    if (low >= 100)
        return u"%1 to %2 % larger"_s.arg(low - 100).arg(high - 100);
    return u"from %1 % smaller to %2 % larger"_s.arg(100 - low).arg(high - 100);
}

QString rangeText(SizeRange range)
{
    return range.low == range.high ? sizeText(range.low)
                                   : u"%1 to %2"_s.arg(sizeText(range.low), sizeText(range.high));
}

QString savingOf(qint64 before, SizeRange after)
{
    return after.low == after.high ? savingText(before, after.low) : savingRangeText(before, after);
}

// The name last: it alone has no bounds.
QString tableRow(const QString& now, const QString& expected, const QString& saving, const QString& name)
{
    constexpr int kNowWidth = 9;
    constexpr int kExpectedWidth = 20;
    constexpr int kSavingWidth = 20;
    return u"%1  %2  %3  %4"_s.arg(now, kNowWidth)
        .arg(expected, kExpectedWidth)
        .arg(saving, kSavingWidth)
        .arg(name);
}

QString estimateText(qint64 before, SizeRange after)
{
    return u"%1 -> %2 expected (%3)"_s.arg(sizeText(before), rangeText(after), savingOf(before, after));
}

QString reachedText(const JobResult& result)
{
    QString text;
    if (result.quality)
        text += u", quality %1"_s.arg(*result.quality);
    if (result.ssim)
        text += u", SSIM %1"_s.arg(*result.ssim, 0, 'f', 4);
    return text;
}

// Why the source is as good. The module says of what would have grown no more than that.
QString smallGainText(const JobResult& result)
{
    if (result.bytesMade >= result.bytesBefore)
        return u"it would have grown"_s;
    return u"it would have %1 only"_s.arg(savingText(result.bytesBefore, result.bytesMade));
}

QString outcomeText(const JobResult& result)
{
    QString sizes =
        u"%1 -> %2 (%3%4)"_s.arg(sizeText(result.bytesBefore), sizeText(result.bytesAfter),
                                 savingText(result.bytesBefore, result.bytesAfter), reachedText(result));
    switch (result.outcome) {
    case Outcome::Delivered:
        return sizes;
    case Outcome::Kept:
        return u"%1, %2: %3"_s.arg(sizeText(result.bytesBefore),
                                   result.spec.isInPlace ? u"kept as it is"_s : u"delivered unchanged"_s,
                                   smallGainText(result));
    case Outcome::NotWorth:
        return u"%1, not delivered: %2"_s.arg(sizeText(result.bytesBefore), smallGainText(result));
    case Outcome::Skipped:
        return u"skipped, the output exists"_s;
    case Outcome::Predicted:
        return sizes + u", nothing delivered"_s;
    case Outcome::Estimated:
        return estimateText(result.bytesBefore, *result.estimate);
    case Outcome::Failed:
        break;
    }
    return {};
}

} // namespace

QString resultText(const JobResult& result)
{
    const QString input = shown(result.spec.inputPath);
    const QString output = shown(result.spec.outputPath);
    const QString names = input == output ? input : u"%1 -> %2"_s.arg(input, output);
    return u"%1: %2"_s.arg(names, outcomeText(result));
}

QString estimateHeader()
{
    return tableRow(u"now"_s, u"expected"_s, u"saving"_s, u"file"_s);
}

QString estimateRow(qint64 before, SizeRange after, const QString& name)
{
    return tableRow(sizeText(before), rangeText(after), savingOf(before, after), name);
}

QString summaryText(const RunSummary& summary)
{
    QStringList parts = {u"%1 files"_s.arg(summary.files)};
    const std::pair<qint64, const char*> counts[] = {{summary.kept, "kept"},
                                                     {summary.skipped, "skipped"},
                                                     {summary.failed, "failed"},
                                                     {summary.ignored, "ignored"}};
    for (const auto& [count, what] : counts) {
        if (count > 0)
            parts.append(u"%1 %2"_s.arg(count).arg(QLatin1String(what)));
    }
    QString text = parts.join(", "_L1);
    if (summary.estimate)
        text += u": "_s + estimateText(summary.bytesBefore, *summary.estimate);
    else if (summary.bytesBefore > 0)
        text += u": %1 -> %2 (%3)"_s.arg(sizeText(summary.bytesBefore), sizeText(summary.bytesAfter),
                                         savingText(summary.bytesBefore, summary.bytesAfter));
    return text + u" in %1"_s.arg(timeText(summary.elapsedMs));
}

QString timeText(qint64 ms)
{
    const qint64 seconds = (ms + 500) / 1000;
    const auto padded = [](qint64 number) { return u"%1"_s.arg(number, 2, 10, QLatin1Char('0')); };
    if (seconds < 3600)
        return u"%1:%2"_s.arg(seconds / 60).arg(padded(seconds % 60));
    return u"%1:%2:%3"_s.arg(seconds / 3600).arg(padded(seconds / 60 % 60), padded(seconds % 60));
}

QString progressText(double share, qint64 elapsedMs, qint64 videoMs)
{
    const double done = std::clamp(share, 0.0, 1.0);
    QString text = u"%1 %"_s.arg(int(done * 100));
    if (elapsedMs < kWarmUpMs || done <= 0)
        return text;
    if (videoMs > 0)
        text += u", %1x"_s.arg(done * double(videoMs) / double(elapsedMs), 0, 'f', 1);
    if (done < 1)
        text += u", %1 left"_s.arg(timeText(qint64(double(elapsedMs) * (1 - done) / done)));
    return text;
}
