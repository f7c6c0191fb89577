#include "host/output/ResultText.h"

#include "host/output/Figures.h"
#include "host/system/PathText.h"

using namespace Qt::StringLiterals;

namespace {

// The name last: it alone has no bounds.
QString tableRow(const QString& now, const QString& expected, const QString& saving, const QString& name)
{
    return u"%1  %2  %3  %4"_s.arg(now, 9).arg(expected, 20).arg(saving, 20).arg(name);
}

QString sizesText(qint64 before, qint64 after, const QString& more = {})
{
    return u"%1 -> %2 (%3%4)"_s.arg(sizeText(before), sizeText(after), savingText(before, after), more);
}

QString estimateText(qint64 before, SizeRange after)
{
    return u"%1 -> %2 expected (%3)"_s.arg(sizeText(before), rangeText(after), savingText(before, after));
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

// Why the source is as good. Of what would have grown the module says no more than that.
QString smallGainText(const JobResult& result)
{
    if (result.bytesMade >= result.bytesBefore)
        return u"it would have grown"_s;
    return u"it would only have %1"_s.arg(savingText(result.bytesBefore, result.bytesMade));
}

QString outcomeText(const JobResult& result)
{
    QString sizes = sizesText(result.bytesBefore, result.bytesAfter, reachedText(result));
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
    return tableRow(sizeText(before), rangeText(after), savingText(before, after), name);
}

QString summaryText(const RunSummary& summary)
{
    QString text = u"%1 files"_s.arg(summary.files);
    const std::pair<qint64, const char*> counts[] = {{summary.kept, "kept"},
                                                     {summary.skipped, "skipped"},
                                                     {summary.failed, "failed"},
                                                     {summary.ignored, "ignored"}};
    for (const auto& [count, what] : counts) {
        if (count > 0)
            text += u", %1 %2"_s.arg(count).arg(QLatin1String(what));
    }
    if (summary.estimate)
        text += u": "_s + estimateText(summary.bytesBefore, *summary.estimate);
    else if (summary.bytesBefore > 0)
        text += u": "_s + sizesText(summary.bytesBefore, summary.bytesAfter);
    return text + u" in %1"_s.arg(timeText(summary.elapsedMs));
}
