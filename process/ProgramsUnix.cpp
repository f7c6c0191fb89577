#include <csignal>

#include "process/Programs.h"

namespace Programs {

QString fileName(const char* program)
{
    return QLatin1String(program);
}

bool wasKilled(int exitCode, QProcess::ExitStatus exitStatus)
{
    return exitStatus == QProcess::CrashExit && exitCode == SIGKILL;
}

bool hasCrashed(int, QProcess::ExitStatus exitStatus)
{
    return exitStatus == QProcess::CrashExit;
}

bool takesPath(const QString&)
{
    return true;
}

} // namespace Programs
