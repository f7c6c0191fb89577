#include "host/search/Platform.h"

#include <QProcess>

#ifdef Q_OS_WIN
#include <qt_windows.h>
#endif
#ifdef Q_OS_LINUX
#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>
#endif

namespace Platform {

void tieToHost(QProcess& process)
{
#ifdef Q_OS_LINUX
    // Runs between fork and exec: system calls only.
    process.setChildProcessModifier([host = getpid()] {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        // The host may have gone before the request was made.
        if (getppid() != host)
            _exit(1);
    });
#else
    Q_UNUSED(process)
#endif
}

void tieStarted(QProcess& process)
{
#ifdef Q_OS_WIN
    // Never closed: the system does that when the host ends, and so ends the processes in the job.
    static const HANDLE job = [] {
        const HANDLE made = CreateJobObjectW(nullptr, nullptr);
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        SetInformationJobObject(made, JobObjectExtendedLimitInformation, &limits, sizeof limits);
        return made;
    }();
    const auto id = static_cast<DWORD>(process.processId());
    if (const HANDLE handle = OpenProcess(PROCESS_SET_QUOTA | PROCESS_TERMINATE, FALSE, id)) {
        AssignProcessToJobObject(job, handle);
        CloseHandle(handle);
    }
#else
    Q_UNUSED(process)
#endif
}

} // namespace Platform
