#pragma once

#include <memory>

#include "host/job/JobEvents.h"
#include "host/job/Options.h"

/// The reporter that options and terminal call for.
std::unique_ptr<JobEvents> makeReporter(const Options& options);

/// Takes the log of module and Qt for as long as it lives, and reports it as remarks: the module's debug
/// lines only where the user wants to see them, warnings always.
class ModuleLog
{
public:
    ModuleLog(const Options& options, JobEvents& events);
    ~ModuleLog();
    Q_DISABLE_COPY_MOVE(ModuleLog)
};
