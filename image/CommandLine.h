#pragma once

#include <QString>
#include <QStringList>

/// Commands are strings that QProcess::startCommand() splits again: blanks separate, double quotes group.

/// A path as one argument of a command string, whatever characters it has, and never read as an option.
QString quotedPath(const QString& path);

/// Where an encoder lies: beside the host's executable. `tool` is the bare name, such as "ffmpeg".
QString toolPath(const char* tool);

/// The whole command: the quoted tool, then the fragments, each behind one blank.
QString commandLine(const QString& tool, const QStringList& fragments);

/// ffmpeg's answer to an existing output file: "-y", overwrite it; or, where that would be the source under
/// any name or link, "-n", so that ffmpeg refuses before it opens the file and the source stays whole.
QString overwriteOption(const QString& inputPath, const QString& outputPath);
