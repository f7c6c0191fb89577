#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QStringList>

#include "host/job/JobEvents.h"
#include "host/output/OutputChannels.h"

struct TextStyle
{
    bool isQuiet = false;
    bool hasColor = false;
};

/// Plain lines: results on standard output, all else on standard error behind "vxcompress: ". A video that
/// takes long shows a line with its progress now and then.
class TextReporter : public JobEvents
{
public:
    explicit TextReporter(TextStyle style) : mStyle(style) {}

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
    enum class Tone
    {
        Plain,
        Doubt,
        Failure
    };

    /// A whole line, without its end.
    virtual void print(Platform::Channel channel, const QString& line);
    void say(const QString& text, Tone tone = Tone::Plain);
    qint64 files() const { return mFiles; }

private:
    struct Video
    {
        QElapsedTimer sinceStart;
        QElapsedTimer sinceTold;
        qint64 videoMs = 0;
    };

    void tellResult(const JobResult& result);

    TextStyle mStyle;
    OutputChannels mChannels;
    qint64 mFiles = 0;
    QHash<qint64, Video> mVideos; ///< the running ones
    QStringList mFailures;
    qint64 mFailureCount = 0;
    bool mHasTable = false;
};
