#include "host/output/TextReporter.h"

#include "host/job/Format.h"
#include "host/output/FailureText.h"
#include "host/output/ResultText.h"
#include "host/system/PathText.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kPaceMs = 10000;
// That a summary tells again; a screen or two.
constexpr qsizetype kMaxFailures = 50;

constexpr char kRed[] = "\x1b[31m";
constexpr char kYellow[] = "\x1b[33m";
constexpr char kNormal[] = "\x1b[0m";

} // namespace

void TextReporter::print(Platform::Channel channel, const QString& line)
{
    mChannels.write(channel, line + u'\n');
}

void TextReporter::say(const QString& text, Tone tone)
{
    QString name = u"vxcompress:"_s;
    if (mStyle.hasColor && tone != Tone::Plain)
        name = QLatin1String(tone == Tone::Failure ? kRed : kYellow) + name + QLatin1String(kNormal);
    print(Platform::Channel::Error, name + u' ' + text);
}

void TextReporter::planned(qint64 files, qint64)
{
    mFiles = files;
}

void TextReporter::started(const JobSpec& job)
{
    if (!job.format->isVideo())
        return;
    Video& video = mVideos[job.index];
    video.sinceStart.start();
    video.sinceTold.start();
}

void TextReporter::measured(const JobSpec& job, qint64 videoMs)
{
    if (mVideos.contains(job.index))
        mVideos[job.index].videoMs = videoMs;
}

void TextReporter::progressed(const JobSpec& job, double share)
{
    const auto video = mVideos.find(job.index);
    if (mStyle.isQuiet || video == mVideos.end() || video->sinceTold.elapsed() < kPaceMs)
        return;
    video->sinceTold.start();
    say(u"%1: %2"_s.arg(shown(job.inputPath),
                        progressText(share, video->sinceStart.elapsed(), video->videoMs)));
}

void TextReporter::settled(const JobResult& result)
{
    mVideos.remove(result.spec.index);
}

void TextReporter::ended(const JobResult& result)
{
    for (const Warning& warning : result.warnings) {
        if (!mStyle.isQuiet)
            say(u"%1: %2"_s.arg(shown(result.spec.inputPath), warning.text), Tone::Doubt);
    }
    if (result.isInterrupted())
        return;
    if (result.outcome == Outcome::Failed) {
        const QString text = failureText(result);
        say(text, Tone::Failure);
        ++mFailureCount;
        if (mFailures.size() < kMaxFailures)
            mFailures.append(text);
    } else if (!mStyle.isQuiet) {
        tellResult(result);
    }
}

// Estimates of many files are a table.
void TextReporter::tellResult(const JobResult& result)
{
    if (result.outcome != Outcome::Estimated || mFiles == 1)
        return print(Platform::Channel::Output, resultText(result));
    if (!std::exchange(mHasTable, true))
        print(Platform::Channel::Output, estimateHeader());
    print(Platform::Channel::Output,
          estimateRow(result.bytesBefore, *result.estimate, shown(result.spec.inputPath)));
}

void TextReporter::stopping(int runningJobs)
{
    if (runningJobs > 0 && !mStyle.isQuiet)
        say(u"interrupted: ending what runs (once more ends at once)"_s);
}

void TextReporter::remarked(const QString& line)
{
    print(Platform::Channel::Error, line);
}

void TextReporter::refused(const QString& text)
{
    say(text, Tone::Failure);
}

void TextReporter::finished(const RunSummary& summary)
{
    if (mStyle.isQuiet || summary.files == 1)
        return;
    if (mHasTable && summary.estimate) {
        print(Platform::Channel::Output, estimateRow(summary.bytesBefore, *summary.estimate, u"in all"_s));
    }
    say(summaryText(summary));
    if (mFailureCount == 0)
        return;
    say(u"%1 failed:"_s.arg(mFailureCount), Tone::Failure);
    for (const QString& text : std::as_const(mFailures))
        print(Platform::Channel::Error, u"  "_s + text);
    if (mFailureCount > mFailures.size())
        print(Platform::Channel::Error, u"  and %1 more, told above"_s.arg(mFailureCount - mFailures.size()));
}
