#include "host/report/Report.h"
#include "host/system/PathText.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMaxRows = 20;
// A longer cell stands out, and does not widen its whole column.
constexpr int kMaxWidth = 40;

QString tableText(const ReportSection& section)
{
    QList<QStringList> rows = section.rows.first(std::min(kMaxRows, section.rows.size()));
    rows.prepend(section.columns);
    QList<int> widths(section.columns.size());
    for (const QStringList& row : std::as_const(rows)) {
        for (qsizetype at = 0; at < row.size(); ++at)
            widths[at] = std::max(widths[at], std::min(columnsOf(row[at]), kMaxWidth));
    }
    QString text;
    for (const QStringList& row : std::as_const(rows)) {
        for (qsizetype at = 0; at < row.size(); ++at) {
            const QString pad(std::max(widths[at] - columnsOf(row[at]), 0), u' ');
            const bool isLast = at + 1 == row.size();
            text += "  "_L1 + (at < section.numbers ? pad + row[at] : isLast ? row[at] : row[at] + pad);
        }
        text += u'\n';
    }
    if (section.rows.size() > kMaxRows)
        text += u"  and %1 more, which --json lists\n"_s.arg(section.rows.size() - kMaxRows);
    return text;
}

} // namespace

QString reportText(const Findings& sum)
{
    QString text = reportLines(sum).join(u'\n') + u'\n';
    for (const ReportSection& section : reportSections(sum)) {
        if (!section.rows.isEmpty())
            text += u'\n' + section.title + ":\n"_L1 + tableText(section);
    }
    return text;
}
