#include "host/media/VideoProbe.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <utility>

#include "process/ProcessTie.h"

using namespace Qt::StringLiterals;

namespace {

// Thousands of streams and chapters need less.
constexpr qsizetype kMostBytes = qsizetype(16) * 1024 * 1024;

} // namespace

VideoProbe::VideoProbe(const QString& path, std::chrono::milliseconds timeLimit)
{
    connect(&mProcess, &QProcess::readyReadStandardOutput, this, &VideoProbe::collect);
    connect(&mProcess, &QProcess::readyReadStandardError, this, &VideoProbe::collect);
    connect(&mProcess, &QProcess::finished, this, &VideoProbe::onFinished);
    // Queued: a failed start is told while this object is being made.
    connect(
        &mProcess, &QProcess::errorOccurred, this,
        [this](QProcess::ProcessError error) {
            if (error == QProcess::FailedToStart)
                fail(u"ffprobe could not be started: %1"_s.arg(mProcess.errorString()));
        },
        Qt::QueuedConnection);
    connect(&mTimer, &QTimer::timeout, this, [this] { fail(u"ffprobe found no end"_s); });
    mTimer.setSingleShot(true);
    mTimer.start(timeLimit);
    Platform::tieToHost(mProcess);
    mProcess.setStandardInputFile(QProcess::nullDevice());
    // The protocol in front: a name may hold a colon.
    mProcess.start(QCoreApplication::applicationDirPath() + u"/ffprobe"_s,
                   {u"-v"_s, u"warning"_s, u"-print_format"_s, u"json"_s, u"-show_format"_s,
                    u"-show_streams"_s, u"-show_chapters"_s, u"-i"_s,
                    u"file:"_s + QFileInfo(path).absoluteFilePath()});
}

VideoProbe::~VideoProbe()
{
    mProcess.disconnect(this);
    mProcess.kill();
    mProcess.waitForFinished();
}

void VideoProbe::collect()
{
    mJson += mProcess.readAllStandardOutput();
    mLog += mProcess.readAllStandardError();
    if (mJson.size() + mLog.size() > kMostBytes)
        fail(u"ffprobe says too much"_s);
}

void VideoProbe::fail(const QString& error)
{
    mProcess.kill();
    VideoFacts facts;
    facts.error = error;
    answer(facts);
}

void VideoProbe::onFinished(int exitCode, QProcess::ExitStatus status)
{
    collect();
    VideoFacts facts = parseVideoFacts(mJson, mLog);
    if (exitCode != 0 || status != QProcess::NormalExit) {
        facts = {};
        // The last line is the reason; what is before it are doubts.
        const QByteArray reason = mLog.trimmed().split('\n').last();
        facts.error = reason.isEmpty() ? u"ffprobe failed"_s : QString::fromUtf8(reason);
    }
    answer(facts);
}

void VideoProbe::answer(const VideoFacts& facts)
{
    if (std::exchange(mIsAnswered, true))
        return;
    mTimer.stop();
    mFacts = facts;
    emit answered();
}
