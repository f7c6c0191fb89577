#pragma once

#include "host/report/Findings.h"

/// A part of the report: bars, which the page alone has, and a table.
struct ReportSection
{
    struct Bar
    {
        QString label; ///< left of it
        double value = 0;
        QString text;    ///< right of it
        const char* css; ///< the class that gives its colour
    };

    QString title;
    int numbers = 0; ///< so many of the first columns are aligned to the right
    QStringList columns = {};
    QList<Bar> bars = {};
    QList<QStringList> rows = {};
};

/// The findings for people: the first lines, then the sections that have something to say.
QStringList reportLines(const Findings& sum);
QList<ReportSection> reportSections(const Findings& sum);

/// In plain lines.
QString reportText(const Findings& sum);

/// As a page that needs nothing beside itself: no script, no network. Well-formed XML.
QString reportHtml(const Findings& sum);

/// For programs, as one JSON object in one line: `type` is "report".
QByteArray reportJson(const Findings& sum);
