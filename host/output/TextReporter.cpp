#include "host/output/TextReporter.h"

#include "host/output/ResultText.h"
#include "host/system/PathText.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kPaceMs = 10000;
// What a summary lists again; a screen or two.
constexpr qsizetype kMaxFailures = 50;

constexpr char kRed[] = "\x1b[31m";
constexpr char kYellow[] = "\x1b[33m";
constexpr char kNormal[] = "\x1b[0m";

} // namespace

TextReporter::TextReporter(const Options& options)
    : mIsQuiet(options.quiet),
      mHasColor(options.color == ColorMode::Auto ? Platform::hasColour(Platform::Channel::Error)
                                                 : options.color == ColorMode::Always)
{
}

void TextReporter::print(Platform::Channel channel, const QString& line)
{
    mChannels.write(channel, line + u'\n');
}

void TextReporter::say(const QString& text, const char* color)
{
    QString name = u"vxcompress:"_s;
    if (mHasColor && color)
        name = QLatin1String(color) + name + QLatin1String(kNormal);
    print(Platform::Channel::Error, name + u' ' + text);
}

void TextReporter::planned(qint64 files, qint64)
{
    mFiles = files;
}

void TextReporter::started(const JobSpec& job)
{
    Running& running = mRunning[job.index];
    running.name = shown(job.inputPath);
    running.bytes = job.inputBytes;
    running.isVideo = job.format->isVideo();
    running.clock.start();
    running.sinceShown.start();
}

void TextReporter::measured(const JobSpec& job, qint64 videoMs)
{
    mRunning.at(job.index).videoMs = videoMs;
}

void TextReporter::progressed(const JobSpec& job, double share)
{
    Running& running = mRunning.at(job.index);
    running.share = share;
    if (running.isVideo && !mIsQuiet)
        showProgress(running);
}

void TextReporter::showProgress(Running& video)
{
    if (video.sinceShown.elapsed() < kPaceMs)
        return;
    video.sinceShown.start();
    say(u"%1: %2"_s.arg(video.name, video.progress()));
}

void TextReporter::settled(const JobResult& result)
{
    mRunning.erase(result.spec.index);
}

void TextReporter::ended(const JobResult& result)
{
    for (const Warning& warning : result.warnings) {
        if (!mIsQuiet)
            say(u"%1: %2"_s.arg(shown(result.spec.inputPath), warning.text), kYellow);
    }
    if (result.isInterrupted())
        return;
    if (result.outcome == Outcome::Failed) {
        const QString text = failureText(result);
        say(text, kRed);
        ++mFailureCount;
        if (mFailures.size() < kMaxFailures)
            mFailures.append(text);
    } else if (!mIsQuiet) {
        sayResult(result);
    }
}

// Estimates of many files are a table.
void TextReporter::sayResult(const JobResult& result)
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
    if (runningJobs > 0 && !mIsQuiet)
        say(u"interrupted: stopping the running jobs (interrupt again to stop at once)"_s);
}

void TextReporter::remarked(const QString& line)
{
    print(Platform::Channel::Error, line);
}

void TextReporter::refused(const QString& text)
{
    say(text, kRed);
}

void TextReporter::finished(const RunSummary& summary)
{
    if (mIsQuiet || summary.files == 1)
        return;
    if (mHasTable && summary.estimate)
        print(Platform::Channel::Output, estimateRow(summary.bytesBefore, *summary.estimate, u"in all"_s));
    say(summaryText(summary));
    if (mFailureCount == 0)
        return;
    say(u"%1 failed:"_s.arg(mFailureCount), kRed);
    for (const QString& text : std::as_const(mFailures))
        print(Platform::Channel::Error, u"  "_s + text);
    if (mFailureCount > mFailures.size())
        print(Platform::Channel::Error,
              u"  and %1 more, which are named above"_s.arg(mFailureCount - mFailures.size()));
}
