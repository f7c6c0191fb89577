#pragma once

#include "host/job/JobEvents.h"
#include "host/job/Options.h"

class Scheduler;

/// One command line from its plan to its exit status, with nothing left behind.
class BatchRun
{
public:
    BatchRun(const Options& options, JobEvents& events) : mOptions(options), mEvents(events) {}

    int exec();

private:
    int finish(const Scheduler& scheduler, qint64 elapsedMs);

    const Options& mOptions;
    JobEvents& mEvents;
};
