#pragma once

#include <QString>
#include <QStringList>

/// Commands are strings that QProcess::startCommand() splits again: blanks separate, double quotes group.

/// A path as one argument of a command string, whatever characters it has, and never read as an option or as
/// a protocol.
QString quotedPath(const QString& path);

/// Where an encoder lies: beside the host's executable. `tool` is the bare name, such as "ffmpeg".
QString toolPath(const char* tool);

/// The whole command: the quoted tool, then the fragments, each behind one blank.
QString commandLine(const QString& tool, const QStringList& fragments);
