#pragma once

#include "host/job/JobResult.h"
#include "host/plan/InputList.h"

/// What is to be done for one input: a job, or the reason why there is none.
struct PlannedJob
{
    JobSpec spec;
    Failure failure;       ///< found by the names alone
    bool isExcess = false; ///< --skip-existing: the output is there
};

/// From a command line to jobs, in the order of the inputs. What can be told before anything starts is told
/// then; a job's own files are looked at when its turn comes.
class Plan
{
public:
    /// `folder` keeps the list of inputs. Both outlive the plan.
    Plan(const Options& options, PrivateFolder& folder);

    /// Finds the inputs and looks for collisions. Returns what is wrong, a line each.
    QStringList make();

    qint64 files() const { return mInputs.count(); }
    qint64 bytes() const { return mBytes; }
    qint64 ignored() const { return mInputs.ignored(); }

    std::optional<PlannedJob> next();

private:
    QString checkOutputFolder() const;
    PlannedJob planned(const Input& input) const;
    QStringList findCollisions();

    const Options& mOptions;
    InputList mInputs;
    bool mOutputIsFolder = false;
    qint64 mBytes = 0;
    qint64 mNextIndex = 0;
};
