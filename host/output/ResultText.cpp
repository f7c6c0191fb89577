#include "host/output/ResultText.h"

#include <algorithm>

#include "host/system/PathText.h"
#include "host/output/SizeText.h"

namespace {

// Before that, speed and time left are guesswork.
constexpr qint64 kWarmUpMs = 1000;

QString savingRangeText(qint64 before, SizeRange after)
{
    const auto percentOf = [before](qint64 bytes) { return qRound(100.0 * double(bytes) / double(before)); };
    const int low = percentOf(after.low);
    const int high = percentOf(after.high);
    if (high <= 100)
        return QStringLiteral("saves %1 to %2 %").arg(100 - high).arg(100 - low);
    if (low >= 100)
        return QStringLiteral("%1 to %2 % larger").arg(low - 100).arg(high - 100);
    return QStringLiteral("from %1 % smaller to %2 % larger").arg(100 - low).arg(high - 100);
}

QString rangeText(SizeRange range)
{
    return range.low == range.high
               ? sizeText(range.low)
               : QStringLiteral("%1 to %2").arg(sizeText(range.low), sizeText(range.high));
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
    return QStringLiteral("%1  %2  %3  %4")
        .arg(now, kNowWidth)
        .arg(expected, kExpectedWidth)
        .arg(saving, kSavingWidth)
        .arg(name);
}

QString estimateText(qint64 before, SizeRange after)
{
    return QStringLiteral("%1 -> %2 expected (%3)")
        .arg(sizeText(before), rangeText(after), savingOf(before, after));
}

QString reachedText(const JobResult& result)
{
    QString text;
    if (result.quality)
        text += QStringLiteral(", quality %1").arg(*result.quality);
    if (result.ssim)
        text += QStringLiteral(", SSIM %1").arg(*result.ssim, 0, 'f', 4);
    return text;
}

// Why the source is as good. The module says of what would have grown no more than that.
QString smallGainText(const JobResult& result)
{
    if (result.bytesMade >= result.bytesBefore)
        return QStringLiteral("it would have grown");
    return QStringLiteral("it would have %1 only").arg(savingText(result.bytesBefore, result.bytesMade));
}

QString outcomeText(const JobResult& result)
{
    QString sizes = QStringLiteral("%1 -> %2 (%3%4)")
                        .arg(sizeText(result.bytesBefore), sizeText(result.bytesAfter),
                             savingText(result.bytesBefore, result.bytesAfter), reachedText(result));
    switch (result.outcome) {
    case Outcome::Delivered:
        return sizes;
    case Outcome::Kept:
        return QStringLiteral("%1, %2: %3")
            .arg(sizeText(result.bytesBefore),
                 result.spec.isInPlace ? QStringLiteral("kept as it is")
                                       : QStringLiteral("delivered unchanged"),
                 smallGainText(result));
    case Outcome::NotWorth:
        return QStringLiteral("%1, not delivered: %2")
            .arg(sizeText(result.bytesBefore), smallGainText(result));
    case Outcome::Skipped:
        return QStringLiteral("skipped, the output exists");
    case Outcome::Predicted:
        return sizes + QStringLiteral(", nothing delivered");
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
    const QString names = input == output ? input : QStringLiteral("%1 -> %2").arg(input, output);
    return QStringLiteral("%1: %2").arg(names, outcomeText(result));
}

QString estimateHeader()
{
    return tableRow(QStringLiteral("now"), QStringLiteral("expected"), QStringLiteral("saving"),
                    QStringLiteral("file"));
}

QString estimateRow(qint64 before, SizeRange after, const QString& name)
{
    return tableRow(sizeText(before), rangeText(after), savingOf(before, after), name);
}

QString summaryText(const RunSummary& summary)
{
    QStringList parts = {QStringLiteral("%1 files").arg(summary.files)};
    const std::pair<qint64, const char*> counts[] = {{summary.kept, "kept"},
                                                     {summary.skipped, "skipped"},
                                                     {summary.failed, "failed"},
                                                     {summary.passedOver, "passed over"}};
    for (const auto& [count, what] : counts) {
        if (count > 0)
            parts.append(QStringLiteral("%1 %2").arg(count).arg(QLatin1String(what)));
    }
    QString text = parts.join(QLatin1String(", "));
    if (summary.estimate)
        text += QStringLiteral(": ") + estimateText(summary.bytesBefore, *summary.estimate);
    else if (summary.bytesBefore > 0)
        text += QStringLiteral(": %1 -> %2 (%3)")
                    .arg(sizeText(summary.bytesBefore), sizeText(summary.bytesAfter),
                         savingText(summary.bytesBefore, summary.bytesAfter));
    return text + QStringLiteral(" in %1").arg(timeText(summary.elapsedMs));
}

QString timeText(qint64 ms)
{
    const qint64 seconds = (ms + 500) / 1000;
    const auto padded = [](qint64 number) {
        return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0'));
    };
    if (seconds < 3600)
        return QStringLiteral("%1:%2").arg(seconds / 60).arg(padded(seconds % 60));
    return QStringLiteral("%1:%2:%3")
        .arg(seconds / 3600)
        .arg(padded(seconds / 60 % 60), padded(seconds % 60));
}

QString progressText(double share, qint64 elapsedMs, qint64 videoMs)
{
    const double done = std::clamp(share, 0.0, 1.0);
    QString text = QStringLiteral("%1 %").arg(int(done * 100));
    if (elapsedMs < kWarmUpMs || done <= 0)
        return text;
    if (videoMs > 0)
        text += QStringLiteral(", %1x").arg(done * double(videoMs) / double(elapsedMs), 0, 'f', 1);
    if (done < 1)
        text += QStringLiteral(", %1 left").arg(timeText(qint64(double(elapsedMs) * (1 - done) / done)));
    return text;
}
