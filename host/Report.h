#pragma once

#include <QString>

/// What vxcompress says: results on standard output, everything else on standard error.

void printResult(const QString& line);

/// One line: "vxcompress: " and the text.
void printError(const QString& text);

/// On standard error, as it is: for a line that is drawn again and again.
void printProgress(const QString& text);
