#include "process/ProcessTie.h"

#include <QProcess>

#ifdef Q_OS_LINUX
#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>
#endif

namespace Platform {

bool tieToHost([[maybe_unused]] QProcess& process)
{
#ifdef Q_OS_LINUX
    // Runs between fork and exec: system calls only.
    process.setChildProcessModifier([host = getpid()] {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        // The host may have gone before the request was made.
        if (getppid() != host)
            _exit(1);
    });
    return true;
#else
    return false;
#endif
}

} // namespace Platform
