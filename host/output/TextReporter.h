#pragma once

#include <QElapsedTimer>
#include <QStringList>

#include <map>

#include "host/job/JobEvents.h"
#include "host/job/Options.h"
#include "host/output/Figures.h"
#include "host/output/OutputChannels.h"

/// Plain lines: results on standard output, all else on standard error after "vxcompress: ". A video that
/// takes long shows a line with its progress now and then.
class TextReporter : public JobEvents
{
public:
    explicit TextReporter(const Options& options);

    void planned(qint64 files, qint64 bytes) override;
    void started(const JobSpec& job) override;
    void measured(const JobSpec& job, qint64 videoMs) override;
    void progressed(const JobSpec& job, double share) override;
    void settled(const JobResult& result) override;
    void ended(const JobResult& result) override;
    void stopping(int runningJobs) override;
    void remarked(const QString& line) override;
    void refused(const QString& text) override;
    void finished(const RunSummary& summary) override;

protected:
    struct Running
    {
        QString name;
        qint64 bytes = 0;
        bool isVideo = false;
        qint64 videoMs = 0;
        double share = 0;
        QElapsedTimer clock;
        QElapsedTimer sinceShown;

        QString progress() const { return progressText(share, clock.elapsed(), videoMs); }
    };

    /// A whole line, without its end.
    virtual void print(Platform::Channel channel, const QString& line);
    /// A video's share has grown.
    virtual void showProgress(Running& video);

    OutputChannels mChannels;
    qint64 mFiles = 0;
    std::map<qint64, Running> mRunning; ///< by the jobs' order

private:
    /// What is not plain has a colour.
    void say(const QString& text, const char* color = nullptr);
    void sayResult(const JobResult& result);

    const bool mIsQuiet;
    const bool mHasColor;
    QStringList mFailures; ///< the first ones, for the summary
    qint64 mFailureCount = 0;
    bool mHasTable = false;
};
