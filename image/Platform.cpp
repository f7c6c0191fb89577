#include "image/Platform.h"

#include "image/ToolProcess.h"

#ifdef Q_OS_WIN
#include <qt_windows.h>
#else
#include <csignal>
#include <unistd.h>
#endif
#ifdef Q_OS_LINUX
#include <sys/prctl.h>
#endif

namespace Platform {

#ifdef Q_OS_WIN

namespace {

// The handle is never closed: the system does that when this process ends, and so ends the job's processes.
HANDLE encoderJob()
{
    static const HANDLE job = [] {
        const HANDLE made = CreateJobObjectW(nullptr, nullptr);
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        SetInformationJobObject(made, JobObjectExtendedLimitInformation, &limits, sizeof limits);
        return made;
    }();
    return job;
}

} // namespace

QString executableName(const char* tool)
{
    return QLatin1String(tool) + QLatin1String(".exe");
}

bool wasKilled(int exitCode, QProcess::ExitStatus)
{
    return exitCode == ToolProcess::kKilled;
}

void dieWithParent(QProcess&) {}

void adoptStarted(QProcess& process)
{
    const HANDLE handle =
        OpenProcess(PROCESS_SET_QUOTA | PROCESS_TERMINATE, FALSE, static_cast<DWORD>(process.processId()));
    if (!handle)
        return;
    AssignProcessToJobObject(encoderJob(), handle);
    CloseHandle(handle);
}

#else

QString executableName(const char* tool)
{
    return QLatin1String(tool);
}

bool wasKilled(int exitCode, QProcess::ExitStatus exitStatus)
{
    return exitStatus == QProcess::CrashExit && exitCode == SIGKILL;
}

void dieWithParent(QProcess& process)
{
#ifdef Q_OS_LINUX
    // Runs between fork and exec: system calls only.
    process.setChildProcessModifier([parent = getpid()] {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        // The parent may have gone before the request was made.
        if (getppid() != parent)
            _exit(1);
    });
#else
    Q_UNUSED(process)
#endif
}

void adoptStarted(QProcess&) {}

#endif

} // namespace Platform
