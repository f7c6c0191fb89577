#include "host/report/Report.h"

using namespace Qt::StringLiterals;

namespace {

// A page of a hundred thousand rows opens no more; --json has them all.
constexpr qsizetype kMaxRows = 1000;

// Of the bars, in their image's own units: 150 for the labels, so many for the bars, 190 for the texts.
constexpr int kRow = 22;
constexpr int kBarWidth = 420;
constexpr char kBars[] =
    R"(<svg xmlns="http://www.w3.org/2000/svg" role="img" viewBox="0 0 760 %1" width="760" height="%1">
<title>%2</title>
)";
constexpr char kBar[] = R"svg(<g transform="translate(150 %1)"><text x="-8" y="13" text-anchor="end">%2</text>
<rect class="%3" width="%4" height="16"/><text x="%5" y="13">%6</text></g>
)svg";

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
h1 + p, h1 + p + p { font-size: 1.3em; }
</style>
</head>
<body>
<h1>vxcompress report</h1>
)";

// Horizontal bars from zero to the largest value, as inline SVG.
QString barsHtml(const ReportSection& section)
{
    double most = 0;
    for (const ReportSection::Bar& bar : section.bars)
        most = std::max(most, bar.value);
    const auto number = [](double value) { return QString::number(value, 'f', 1); };
    QString svg = QString::fromLatin1(kBars).arg(QString::number(kRow * section.bars.size()), section.title);
    int top = 0;
    for (const ReportSection::Bar& bar : section.bars) {
        const double width = most > 0 ? kBarWidth * bar.value / most : 0;
        svg += QString::fromLatin1(kBar).arg(QString::number(top), bar.label.toHtmlEscaped(),
                                             QLatin1String(bar.css), number(width), number(width + 6),
                                             bar.text.toHtmlEscaped());
        top += kRow;
    }
    return svg + "</svg>\n"_L1;
}

QString rowHtml(const QStringList& cells, int numbers, QLatin1StringView tag)
{
    QString html = u"<tr>"_s;
    for (qsizetype at = 0; at < cells.size(); ++at)
        html +=
            u"<%1%2>%3</%1>"_s.arg(tag, at < numbers ? " class=\"n\""_L1 : ""_L1, cells[at].toHtmlEscaped());
    return html + "</tr>\n"_L1;
}

QString tableHtml(const ReportSection& section)
{
    QString html = "<table>\n"_L1 + rowHtml(section.columns, section.numbers, "th"_L1);
    for (const QStringList& row : section.rows.first(std::min(kMaxRows, section.rows.size())))
        html += rowHtml(row, section.numbers, "td"_L1);
    html += "</table>\n"_L1;
    if (section.rows.size() > kMaxRows)
        html += u"<p>And %1 more, which --json lists.</p>\n"_s.arg(section.rows.size() - kMaxRows);
    return html;
}

} // namespace

QString reportHtml(const Findings& sum)
{
    QString html = QString::fromLatin1(kHead);
    for (const QString& line : reportLines(sum))
        html += u"<p>%1</p>\n"_s.arg(line.toHtmlEscaped());
    for (const ReportSection& section : reportSections(sum)) {
        html += u"<h2>%1</h2>\n"_s.arg(section.title);
        if (!section.bars.isEmpty())
            html += barsHtml(section);
        if (!section.rows.isEmpty())
            html += tableHtml(section);
    }
    return html + "</body>\n</html>\n"_L1;
}
