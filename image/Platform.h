#pragma once

#include <QProcess>
#include <QString>

/// All that differs between the systems the module runs on.
namespace Platform {

/// The file name of an encoder: "cJpeg" is "cJpeg.exe" on Windows.
QString executableName(const char* tool);

/// Whether a run ended by QProcess::kill(). On Unix that is a death by SIGKILL, whoever sent it; Windows
/// has no such thing and gives a killed process an exit code of its own.
bool wasKilled(int exitCode, QProcess::ExitStatus exitStatus);

/// Asks the system to end the process with this one, however this one ends. Call before the start.
///
/// Linux ties the request to the thread that starts the process: the process is killed when that thread ends.
/// That is as it should be here, since a task never outlives its thread. On Windows it takes effect with
/// adoptStarted().
void dieWithParent(QProcess& process);

/// The second half of dieWithParent(), to be called once the process has started.
void adoptStarted(QProcess& process);

} // namespace Platform
