#include "host/report/ReportHtml.h"

#include "host/output/SizeText.h"
#include "host/report/ReportText.h"
#include "host/report/SvgBars.h"

using namespace Qt::StringLiterals;

namespace {

// A page of a hundred thousand rows opens no more; --json has them all.
constexpr qsizetype kMaxFailures = 1000;

constexpr char kHead[] = R"(<!DOCTYPE html>
<html xmlns="http://www.w3.org/1999/xhtml" lang="en">
<head>
<meta charset="utf-8"/>
<meta name="viewport" content="width=device-width"/>
<title>vxcompress report</title>
<style>
body { font: 15px/1.45 system-ui, sans-serif; margin: 2em auto; max-width: 60em; padding: 0 1em; color: #1d2733; }
h1 { font-size: 1.5em; } h2 { font-size: 1.15em; margin: 1.8em 0 .5em; }
table { border-collapse: collapse; } td, th { padding: .2em .9em .2em 0; text-align: left; vertical-align: top; }
th { border-bottom: 1px solid #aab4c0; } td.n, th.n { text-align: right; font-variant-numeric: tabular-nums; }
svg { max-width: 100%; height: auto; } svg text { font-size: 13px; fill: #1d2733; }
.before { fill: #b4c0cd; } .after { fill: #2f6f9f; } .time { fill: #5a8f5a; } .speed { fill: #a0703a; }
.big { font-size: 1.3em; }
</style>
</head>
<body>
<h1>vxcompress report</h1>
)";

QString heading(const char* text)
{
    return u"<h2>%1</h2>\n"_s.arg(QLatin1StringView(text));
}

// Cells that begin with "#" are numbers.
QString row(const QStringList& cells, QLatin1StringView tag = "td"_L1)
{
    QString html = u"<tr>"_s;
    for (const QString& cell : cells) {
        const bool isNumber = cell.startsWith(u'#');
        html += u"<%1%2>%3</%1>"_s.arg(tag, isNumber ? " class=\"n\""_L1 : ""_L1,
                                       (isNumber ? cell.mid(1) : cell).toHtmlEscaped());
    }
    return html + "</tr>\n"_L1;
}

QString kinds(const Findings& sum)
{
    QList<SvgBars::Bar> bars;
    for (auto kind = sum.kinds.begin(); kind != sum.kinds.end(); ++kind) {
        bars.append(
            {kind.key() + " before"_L1, double(kind->bytesBefore), sizeText(kind->bytesBefore), u"before"_s});
        bars.append(
            {kind.key() + " after"_L1, double(kind->bytesAfter),
             u"%1, %2"_s.arg(sizeText(kind->bytesAfter), savingText(kind->bytesBefore, kind->bytesAfter)),
             u"after"_s});
    }
    QString html =
        heading("Savings by kind") + SvgBars::draw(u"Bytes before and after, by kind"_s, bars) +
        "<table>\n"_L1 +
        row({u"kind"_s, u"#files"_s, u"#before"_s, u"#after"_s, u"#a file"_s, u"saving"_s}, "th"_L1);
    for (auto kind = sum.kinds.begin(); kind != sum.kinds.end(); ++kind) {
        html += row({kind.key(), u"#%1"_s.arg(kind->files), u'#' + sizeText(kind->bytesBefore),
                     u'#' + sizeText(kind->bytesAfter),
                     u'#' + ReportWords::seconds(kind->seconds / double(kind->files)),
                     savingText(kind->bytesBefore, kind->bytesAfter)});
    }
    return html + "</table>\n"_L1;
}

QString durations(const Findings& sum)
{
    QList<SvgBars::Bar> bars;
    double limit = Findings::kFirstDuration;
    for (const qint64 files : sum.durations) {
        bars.append(
            {"under "_L1 + ReportWords::seconds(limit), double(files), QString::number(files), u"time"_s});
        limit *= 2;
    }
    return heading("How long files took") + SvgBars::draw(u"Files by the seconds that they took"_s, bars);
}

QString machines(const Findings& sum)
{
    QList<SvgBars::Bar> bars;
    for (auto machine = sum.machines.begin(); machine != sum.machines.end(); ++machine) {
        bars.append({machine.key(), machine->filesPerCoreSecond(),
                     u"%1 files, %2 runs"_s.arg(machine->filesPerCoreSecond(), 0, 'g', 3).arg(machine->runs),
                     u"speed"_s});
    }
    return heading("Throughput of a core, by machine") +
           SvgBars::draw(u"Files a core and second, by machine"_s, bars);
}

QString slowest(const Findings& sum)
{
    QString html =
        heading("Slowest files") + "<table>\n"_L1 + row({u"#time"_s, u"#size"_s, u"file"_s}, "th"_L1);
    for (const Findings::Slow& file : sum.slowest)
        html += row({u'#' + ReportWords::seconds(file.seconds), u'#' + sizeText(file.bytes), file.path});
    return html + "</table>\n"_L1;
}

QString failures(const Findings& sum)
{
    if (sum.failures.isEmpty() && sum.runErrors.isEmpty())
        return {};
    QString html = heading("Failed files") + "<table>\n"_L1 + row({u"file"_s, u"why"_s, u"text"_s}, "th"_L1);
    for (const QString& error : sum.runErrors)
        html += row({u"(a run)"_s, u"usage"_s, error});
    for (const Findings::Failed& file : sum.failures.first(std::min(kMaxFailures, sum.failures.size())))
        html += row({file.path, file.kind, file.text});
    html += "</table>\n"_L1;
    if (sum.failures.size() > kMaxFailures)
        html += u"<p>And %1 more, which --json lists.</p>\n"_s.arg(sum.failures.size() - kMaxFailures);
    return html;
}

} // namespace

QString reportHtml(const Findings& sum)
{
    QString html = QString::fromLatin1(kHead) +
                   u"<p class=\"big\">%1</p>\n"_s.arg(ReportWords::files(sum).toHtmlEscaped());
    if (sum.bytesBefore > 0)
        html += u"<p class=\"big\">%1 → %2, %3</p>\n"_s.arg(
            sizeText(sum.bytesBefore), sizeText(sum.bytesAfter), savingText(sum.bytesBefore, sum.bytesAfter));
    html += u"<p>%1</p>\n"_s.arg(ReportWords::runs(sum).toHtmlEscaped());
    if (sum.allMachines().coreSeconds > 0)
        html += u"<p>Throughput: %1</p>\n"_s.arg(ReportWords::throughput(sum.allMachines()));
    if (!sum.kinds.isEmpty())
        html += kinds(sum) + durations(sum);
    if (sum.allMachines().coreSeconds > 0)
        html += machines(sum);
    if (!sum.slowest.isEmpty())
        html += slowest(sum);
    return html + failures(sum) + "</body>\n</html>\n"_L1;
}
