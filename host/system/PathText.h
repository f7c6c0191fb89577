#pragma once

#include <QString>

/// A file name as people can read it on one line: control characters and bytes that are no letters appear
/// escaped, as "\n" and "\xff". Takes NativePath's text form.
QString shown(const QString& path);

/// A word as a shell would take it: quoted only where it must be.
QString shellWord(const QString& word);

/// How many columns of a terminal the text takes.
int columnsOf(const QString& text);

enum class Keep
{
    Beginning,
    End ///< for paths
};
/// What of the text fits into so many columns; a cut shows as "...", where there is room for it.
QString cutTo(const QString& text, int columns, Keep keep = Keep::Beginning);
