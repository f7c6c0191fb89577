#pragma once

#include <QString>

/// Whether both paths lead to one existing file: links, relative spellings and the case folding of the file
/// system are seen through.
bool isSameFile(const QString& path, const QString& other);

/// Puts a copy of the file at `from` to `to`, whole or not at all: it is written beside `to` and renamed.
/// On false an existing file at `to` is as it was, and where none existed there is none.
bool deliverFile(const QString& from, const QString& to);

/// Removes an output that a failed or stopped encoder left behind, unless it is the source itself.
void removeFailedOutput(const QString& outputPath, const QString& inputPath);

/// Whether the disk below an output takes no more.
bool isDiskFull(const QString& outputPath);
