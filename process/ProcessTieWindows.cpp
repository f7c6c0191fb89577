#include "process/ProcessTie.h"

#include <QProcess>

#include <memory>
#include <qt_windows.h>
#include <vector>

namespace Platform {

namespace {

// Never closed: the system does that when the host ends, and so ends the processes in the job.
HANDLE hostJob()
{
    static const HANDLE job = [] {
        const HANDLE made = CreateJobObjectW(nullptr, nullptr);
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        const bool isReady =
            made && SetInformationJobObject(made, JobObjectExtendedLimitInformation, &limits, sizeof limits);
        return isReady ? made : nullptr;
    }();
    return job;
}

// What a process is started with to be in the job from its first moment on: assigned behind the start, it
// could outlive a host that dies in between. A host may itself run in a job, and the process then belongs to
// both.
class BornInJob
{
public:
    BornInJob()
    {
        SIZE_T bytes = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &bytes);
        mMemory.resize(bytes);
        if (mJob && InitializeProcThreadAttributeList(list(), 1, 0, &bytes)) {
            mIsMade = true;
            mIsValid = UpdateProcThreadAttribute(list(), 0, PROC_THREAD_ATTRIBUTE_JOB_LIST, &mJob,
                                                 sizeof mJob, nullptr, nullptr);
        }
    }
    ~BornInJob()
    {
        if (mIsMade)
            DeleteProcThreadAttributeList(list());
    }
    Q_DISABLE_COPY_MOVE(BornInJob)

    bool isValid() const { return mIsValid; }

    void addTo(QProcess::CreateProcessArguments& arguments)
    {
        if (!mIsValid)
            return;
        mStartup.StartupInfo = *arguments.startupInfo;
        mStartup.StartupInfo.cb = sizeof mStartup;
        mStartup.lpAttributeList = list();
        arguments.startupInfo = &mStartup.StartupInfo;
        arguments.flags |= EXTENDED_STARTUPINFO_PRESENT;
    }

private:
    LPPROC_THREAD_ATTRIBUTE_LIST list()
    {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(mMemory.data());
    }

    HANDLE mJob = hostJob();
    std::vector<char> mMemory;
    STARTUPINFOEXW mStartup = {};
    bool mIsMade = false;
    bool mIsValid = false;
};

} // namespace

bool tieToHost(QProcess& process)
{
    // Kept as long as the process object, and so until the start.
    const auto born = std::make_shared<BornInJob>();
    process.setCreateProcessArgumentsModifier(
        [born](QProcess::CreateProcessArguments* arguments) { born->addTo(*arguments); });
    return born->isValid();
}

} // namespace Platform
