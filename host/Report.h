#pragma once

#include <QString>

/// What vxcompress says: results on standard output, everything else on standard error.

void printResult(const QString& line);

/// One line: "vxcompress: " and the text.
void printError(const QString& text);
