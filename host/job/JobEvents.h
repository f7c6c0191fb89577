#pragma once

#include <QString>

#include "host/job/JobResult.h"

/// All that a run has done, for its last line.
struct RunSummary
{
    qint64 files = 0; ///< inputs, failed and skipped ones too
    qint64 delivered = 0;
    qint64 kept = 0; ///< Outcome::Kept and NotWorth
    qint64 skipped = 0;
    qint64 failed = 0;
    qint64 ignored = 0;     ///< files of a walked folder that are no media by their names
    qint64 bytesBefore = 0; ///< of the files that a size came of
    qint64 bytesAfter = 0;
    std::optional<SizeRange> estimate; ///< of the files that were estimated, in place of bytesAfter
    qint64 elapsedMs = 0;
    int signal = 0; ///< that ended the run early
    int status = 0; ///< the program's
};

/// What happens to the jobs of a run, told in the main thread. A reporter is one; nothing else writes to the
/// program's two channels.
///
/// A job is told of as started, any number of times as progressing, and once as ended. Jobs run side by side,
/// so starts and progress of several mix; ends come in the order of the inputs. A job that failed before it
/// began has an end only.
class JobEvents
{
public:
    virtual ~JobEvents() = default;

    /// Before the first job, but for runs that cannot be begun.
    virtual void planned(qint64 files, qint64 bytes) = 0;
    virtual void started(const JobSpec& job) = 0;
    /// The length of a video, once it is known.
    virtual void measured(const JobSpec& job, qint64 videoMs) = 0;
    /// The share of the job that is done, 0.0 to 1.0; never falls.
    virtual void progressed(const JobSpec& job, double share) = 0;
    /// The encoder is through with this job; others may run while its end waits for its turn.
    virtual void settled(const JobResult& result) = 0;
    virtual void ended(const JobResult& result) = 0;
    /// The user wants an end, and so many jobs are being ended.
    virtual void stopping(int runningJobs) = 0;
    /// A command, or a line of the module's, for --verbose.
    virtual void remarked(const QString& line) = 0;
    /// The run as a whole could not be begun or went wrong.
    virtual void refused(const QString& text) = 0;
    /// The last event.
    virtual void finished(const RunSummary& summary) = 0;
};
