#pragma once

#include <functional>

#include "host/job/JobEvents.h"
#include "host/job/Options.h"
#include "host/module/ModuleRun.h"
#include "host/run/StagingFolders.h"

/// What all jobs of a run share. It outlives them.
struct JobContext
{
    const Options& options;
    JobEvents& events;
    MakeRun makeRun;
    PrivateFolder& temporaryFolder;
    StagingFolders& stagingFolders;
    /// Whether the user has asked for an end, also when the jobs do not know it yet.
    std::function<bool()> isEnding;
};
