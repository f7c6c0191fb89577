#include "process/Programs.h"

using namespace Qt::StringLiterals;

namespace Programs {

namespace {

// What QProcess::kill() has a process end with.
constexpr int kKillCode = 0xF291;
// What abort() ends with.
constexpr int kAbortCode = 3;
// NTSTATUS codes of severity "error": those of unhandled exceptions.
constexpr quint32 kFirstErrorStatus = 0xC0000000;

} // namespace

QString fileName(const char* program)
{
    return QLatin1String(program) + ".exe"_L1;
}

bool wasKilled(int exitCode, QProcess::ExitStatus)
{
    return exitCode == kKillCode;
}

bool hasCrashed(int exitCode, QProcess::ExitStatus exitStatus)
{
    return exitStatus == QProcess::CrashExit || exitCode == kAbortCode ||
           static_cast<quint32>(exitCode) >= kFirstErrorStatus;
}

// cJpeg and pngquant take their arguments from main(), which Windows fills in the process's code page.
bool takesPath(const QString& path)
{
    return QString::fromLocal8Bit(path.toLocal8Bit()) == path;
}

} // namespace Programs
