#include "video/VideoCompressor.h"

#include <QCoreApplication>
#include <QFile>
#include <QPointer>

#include <algorithm>

#include "compressor/FinishCode.h"
#include "image/CommandLine.h"
#include "image/Delivery.h"
#include "image/FinishRule.h"
#include "log/DebugLine.h"
#include "process/Files.h"
#include "video/ProgressFile.h"

using namespace Qt::StringLiterals;

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
    return run(mIsPercentage ? sizeCommand : qualityCommand);
}

bool VideoCompressor::estimate()
{
    return run(sampleCommand);
}

bool VideoCompressor::run(CommandBuilder builder)
{
    if (!endRunningJob(this, mProcess))
        return true;
    mState = Running;
    const QString tool = toolPath("ffmpeg");
    if (!QFile::exists(tool))
        return false;
    // ffmpeg would cut the source before it reads it; and nobody could stop a look into a pipe.
    const bool isRefused = isSameFile(mInputPath, mOutputPath) || Files::isPipe(Files::native(mInputPath));
    mNames = isRefused ? PlainNames(mInputPath, mOutputPath) : PlainNames::forRun(mInputPath, mOutputPath);
    if (isRefused || !mNames.isReadable()) {
        mProgressThread.reset();
        mProgressContext.reset();
        mProcess = ToolProcess::makeFor(this);
        mProcess->refuse();
        return true;
    }
    const QString command = commandLine(tool, build(builder, mNames));
    if (builder == sampleCommand) {
        launch(command, kSampleMs, Qt::AutoConnection);
        return true;
    }
    debugLine() << "ffmpeg cmd: " << command;
    // Direct: the host hears of progress also while its thread is busy.
    launch(command, static_cast<float>(mDurationMs), Qt::DirectConnection);
    return true;
}

QStringList VideoCompressor::buildQualityCommand()
{
    return build(qualityCommand, PlainNames(mInputPath, mOutputPath));
}

QStringList VideoCompressor::buildSizeCommand()
{
    return build(sizeCommand, PlainNames(mInputPath, mOutputPath));
}

QStringList VideoCompressor::buildSampleCommand()
{
    return build(sampleCommand, PlainNames(mInputPath, mOutputPath));
}

// The whole build goes by the names that ffmpeg gets.
QStringList VideoCompressor::build(CommandBuilder builder, const PlainNames& names)
{
    const Command command =
        builder({names.input(), names.output(), mQuality, mPercentage, mScale, mIsPercentage});
    if (command.fragments.isEmpty())
        return {};
    mProgressFilePath = command.progressFilePath;
    if (builder != sampleCommand)
        mDurationMs = command.durationMs;
    return command.fragments;
}

void VideoCompressor::launch(const QString& command, float durationMs, Qt::ConnectionType progressConnection)
{
    ProgressFile::remove(mProgressFilePath);
    mProcess = ToolProcess::makeFor(this);
    mProgressThread.reset(new ProgressThread(durationMs, mProgressFilePath));
    mProgressContext = std::make_unique<QObject>();
    connect(
        mProgressThread.get(), &ProgressThread::threadCompressProcess, mProgressContext.get(),
        [this](float progress) { onCompressProgress(progress); }, progressConnection);
    const auto cleanUp = [files = mNames.cleanUp(), progress = mProgressFilePath](bool mayHaveOutput) {
        const bool progressGone = !mayHaveOutput || ProgressFile::remove(progress);
        return files(mayHaveOutput) && progressGone;
    };
    mProcess->run({command, mNames.output(), QString(), cleanUp});
    mProgressThread->start(QThread::InheritPriority);
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
        // A killed encoder may yet have made it behind the monitor's end. What it still holds goes with its
        // end.
        if (mProcess->state() == QProcess::NotRunning)
            ProgressFile::remove(mProgressFilePath);
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
    const bool isSuccess = verdict.finishCode == FinishCode::kSuccess;
    if (!isSuccess)
        stop();
    else if (
        mProgressThread) // It reads on to ffmpeg's end marker by itself, and may report more after the finish.
        mProgressThread->encoderEnded();
    mState = isSuccess ? Succeeded : Failed;
    ending.settle();
    const QPointer<VideoCompressor> guard(this);
    // What the monitor has read of a sample waits here for the event loop.
    if (mProgressContext)
        QCoreApplication::sendPostedEvents(mProgressContext.get(), QEvent::MetaCall);
    if (guard && isSuccess)
        emit compressProcess(1.0F);
    if (guard)
        emit compressFinished(verdict.finishCode, verdict.text);
}

// May run in the monitor's thread, and so touches no member.
void VideoCompressor::onCompressProgress(float progress)
{
    emit compressProcess(std::min(progress, 1.0F));
}
