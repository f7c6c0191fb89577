#pragma once

#include <QString>

/// A file size for people, in decimal units with three digits: "812 kB", "2.41 MB".
QString sizeText(qint64 bytes);

/// What became of `before` bytes: "saved 66.3 %", "12.0 % larger" or "the same size".
QString savingText(qint64 before, qint64 after);
