#pragma once

#include "host/job/JobEvents.h"
#include "host/job/Options.h"

/// Runs one command line from its plan to its exit status, which it returns, with nothing left behind.
int runBatch(const Options& options, JobEvents& events);
