#pragma once

#include <QProcess>
#include <QString>

/// What the systems do differently about the programs that this one runs.
namespace Programs {

/// The file name of a program: "cJpeg" is "cJpeg.exe" on Windows.
QString fileName(const char* program);

/// Whether a run ended by QProcess::kill(). On Unix that is a death by SIGKILL, whoever sent it; Windows
/// has no such thing and gives a killed process an exit code of its own.
bool wasKilled(int exitCode, QProcess::ExitStatus exitStatus);

/// Whether the program broke down, by signal or by a code that only a breakdown has.
bool hasCrashed(int exitCode, QProcess::ExitStatus exitStatus);

/// Whether a program that reads its command line in the system's 8-bit encoding gets this path right.
bool takesPath(const QString& path);

} // namespace Programs
