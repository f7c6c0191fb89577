#pragma once

#include <QTest>

/// The rows of a table in a text: one a line, with cells between "|"; the first is the fault that the row
/// catches.
inline QList<QStringList> rowsOf(const char* table)
{
    QList<QStringList> rows;
    for (const QString& line : QString::fromUtf8(table).split(u'\n', Qt::SkipEmptyParts)) {
        rows.append(line.split(u'|'));
        for (QString& cell : rows.last())
            cell = cell.trimmed();
    }
    return rows;
}

/// A data function's rows. In the test function cells() are those of the current one.
inline void addRows(const char* table)
{
    QTest::addColumn<QStringList>("cells");
    for (const QStringList& row : rowsOf(table))
        QTest::newRow(qUtf8Printable(row[0])) << row;
}

inline QStringList cells()
{
    QFETCH(QStringList, cells);
    return cells;
}
