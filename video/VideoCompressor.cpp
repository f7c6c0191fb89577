#include "video/VideoCompressor.h"

#include <QFile>
#include <QThread>

#include <algorithm>
#include <utility>

#include "compressor/FinishCode.h"
#include "image/CommandLine.h"
#include "image/Delivery.h"
#include "image/FinishRule.h"
#include "log/DebugLine.h"
#include "process/Files.h"

using namespace Qt::StringLiterals;

namespace {

constexpr float kSampleDurationMs = 15000.0F;

} // namespace

VideoCompressor::VideoCompressor(const QVariantMap& params)
    : CompressTask(params), mInputPath(params.value(u"inputPath"_s).toString()),
      mOutputPath(params.value(u"outputPath"_s).toString()),
      mIsPercentage(params.value(u"isPercentage"_s).toBool()), mNames(mInputPath, mOutputPath)
{
    QString& quality = mIsPercentage ? mPercentage : mQuality;
    quality = params.value(u"quality"_s).toString();
    mPreset = params.value(u"preset"_s).toString();
    mScale = params.value(u"scale"_s).toString();
}

bool VideoCompressor::start()
{
    return run(mIsPercentage ? &VideoCompressor::buildSizeCommand : &VideoCompressor::buildQualityCommand);
}

bool VideoCompressor::estimate()
{
    return run(&VideoCompressor::buildSampleCommand);
}

bool VideoCompressor::run(Builder builder)
{
    if (!endRunningJob(this, mProcess))
        return true;
    mState = Running;
    const QString tool = toolPath("ffmpeg");
    if (!QFile::exists(tool))
        return false;
    if (refusesSource())
        return true;
    const QString command = commandLine(tool, build(builder));
    if (builder == &VideoCompressor::buildSampleCommand) {
        launch(command, kSampleDurationMs, Qt::AutoConnection);
        return true;
    }
    debugLine() << "ffmpeg cmd: " << command;
    // Direct: the host hears of progress also while its thread is busy.
    launch(command, static_cast<float>(mDurationMs), Qt::DirectConnection);
    return true;
}

// ffmpeg would cut the source before it reads it; and nobody could stop a look into a pipe.
bool VideoCompressor::refusesSource()
{
    if (!isSameFile(mInputPath, mOutputPath) && !Files::isPipe(Files::native(mInputPath)))
        return false;
    mNames = PlainNames(mInputPath, mOutputPath);
    retireMonitor();
    mProcess = ToolProcess::makeFor(this);
    mProcess->refuse();
    return true;
}

// The whole build goes by the plain names: the source is inspected under the one that ffmpeg gets.
QStringList VideoCompressor::build(Builder builder)
{
    mNames = PlainNames::forRun(mInputPath, mOutputPath);
    const QString input = std::exchange(mInputPath, mNames.input());
    const QString output = std::exchange(mOutputPath, mNames.output());
    QStringList fragments = (this->*builder)();
    mInputPath = input;
    mOutputPath = output;
    return fragments;
}

void VideoCompressor::launch(const QString& command, float durationMs, Qt::ConnectionType progressConnection)
{
    if (QFile::exists(mProgressFilePath))
        QFile::remove(mProgressFilePath);
    mProcess = ToolProcess::makeFor(this);
    retireMonitor();
    mProgressThread.reset(new ProgressThread(durationMs, mProgressFilePath));
    connect(mProgressThread.get(), SIGNAL(threadCompressProcess(float)), this,
            SLOT(onCompressProgress(float)), progressConnection);
    const auto cleanUp = [files = mNames.cleanUp(), progress = mProgressFilePath](bool mayHaveOutput) {
        const bool progressGone =
            !mayHaveOutput || !QFile::exists(progress) || !Files::remove(Files::native(progress));
        return files(mayHaveOutput) && progressGone;
    };
    mProcess->run({command, mNames.output(), QString(), cleanUp});
    mProgressThread->start(QThread::InheritPriority);
}

void VideoCompressor::retireMonitor()
{
    // Values of it may be on their way to this task, which knows them by their sender: no other monitor gets
    // its address before they have come.
    if (mProgressThread)
        ProgressThread::Release::later(mProgressThread.release());
}

void VideoCompressor::stop()
{
    if (mProcess && mProcess->isStoppable()) {
        // Without an output there is nothing to take away, and the end may come later. After a true result
        // this task may be gone: the finish came from inside, and it has done the rest.
        if (QFile::exists(mNames.output()) ? mProcess->killAndWait() : mProcess->killLater())
            return;
    }
    if (mProgressThread) {
        mProgressThread->requestStop();
        if (!mProgressThread->wait(ProgressThread::kStopTimeoutMs))
            debugLine() << "==============time wait out===========";
    }
    if (mProcess && mProcess->mayHaveOutput()) {
        mNames.removeOutput();
        // A killed encoder may yet have made it behind the monitor's end. What it still holds goes with its end.
        if (QFile::exists(mProgressFilePath) && mProcess->state() == QProcess::NotRunning)
            Files::remove(Files::native(mProgressFilePath));
    }
    mState = Failed;
}

void VideoCompressor::onCompressFinished(int exitCode, QProcess::ExitStatus exitStatus)
{
    ToolProcess::Ending ending(mProcess.get(), exitCode, exitStatus);
    if (ending.isRepeated())
        return;
    ending.distrustFullDisk(mNames.output());
    Verdict verdict = judge(TaskKind::Video, {ending.exitCode(), ending.isWhole()});
    if (verdict.delivery == Verdict::Result && !mNames.deliver())
        verdict = undelivered(TaskKind::Video);
    mNames.removeLink();
    if (verdict.finishCode == FinishCode::kSuccess) {
        finishSuccessfully(ending, verdict.text);
        return;
    }
    stop();
    ending.settle();
    emit compressFinished(verdict.finishCode, verdict.text);
}

void VideoCompressor::finishSuccessfully(ToolProcess::Ending& ending, const QString& text)
{
    // It reads on to ffmpeg's end marker by itself, and may tell more behind the finish.
    if (mProgressThread)
        mProgressThread->encoderEnded();
    mState = Succeeded;
    ending.settle();
    const QPointer<VideoCompressor> guard(this);
    emit compressProcess(1.0F);
    if (guard)
        emit compressFinished(FinishCode::kSuccess, text);
}

// May run in the monitor's thread, and so touches no member there.
void VideoCompressor::onCompressProgress(float progress)
{
    // A sample's progress is queued: it may arrive behind its run's end, and in the next run.
    const bool queued = QThread::currentThread() == thread();
    if (queued && (mState != Running || sender() != mProgressThread.get()))
        return;
    emit compressProcess(std::min(progress, 1.0F));
}
