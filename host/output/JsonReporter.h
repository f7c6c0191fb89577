#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QJsonObject>

#include "host/job/JobEvents.h"
#include "host/job/Options.h"
#include "host/output/OutputChannels.h"

/// Everything as JSON on standard output, an object a line, as docs/json-stream.md has it. Remarks for
/// developers go to standard error.
class JsonReporter final : public JobEvents
{
public:
    explicit JsonReporter(const Options& options) : mJobs(options.jobs), mShard(options.shard) {}

    void planned(qint64 files, qint64 bytes) override;
    void started(const JobSpec& job) override;
    void measured(const JobSpec&, qint64) override {}
    void progressed(const JobSpec& job, double share) override;
    void settled(const JobResult& result) override;
    void ended(const JobResult& result) override;
    void stopping(int) override {}
    void remarked(const QString& line) override;
    void refused(const QString& text) override;
    void finished(const RunSummary& summary) override;

private:
    struct Running
    {
        QElapsedTimer sinceStart;
        QElapsedTimer sinceTold;
    };

    void write(const QJsonObject& object);

    const int mJobs;
    const Shard mShard;
    OutputChannels mChannels;
    QHash<qint64, Running> mRunning;
};
