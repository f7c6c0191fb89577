#include "video/VideoCompressor.h"

#include <QFile>
#include <QThread>

#include <algorithm>

#include "image/CommandLine.h"
#include "image/DebugLine.h"
#include "image/Delivery.h"

namespace {

constexpr float kSampleDurationMs = 15000.0F;

QString failureText(int exitCode)
{
    static const struct
    {
        int exitCode;
        QLatin1String text;
    } kTexts[] = {
        // ffmpeg's answer to a command that it cannot carry out.
        {1, QLatin1String(" Check the parameters please ")},
        {ToolProcess::kKilled, QLatin1String("Process Abort")},
    };
    for (const auto& row : kTexts) {
        if (exitCode == row.exitCode)
            return row.text;
    }
    return QStringLiteral("Unknown mistake");
}

} // namespace

VideoCompressor::VideoCompressor(const QVariantMap& params)
    : CompressTask(params), mInputPath(params.value(QStringLiteral("inputPath")).toString()),
      mOutputPath(params.value(QStringLiteral("outputPath")).toString()),
      mIsPercentage(params.value(QStringLiteral("isPercentage")).toBool())
{
    QString& quality = mIsPercentage ? mPercentage : mQuality;
    quality = params.value(QStringLiteral("quality")).toString();
    mPreset = params.value(QStringLiteral("preset")).toString();
    mScale = params.value(QStringLiteral("scale")).toString();
}

bool VideoCompressor::start()
{
    if (!endRunningJob(this, mProcess))
        return true;
    mState = Running;
    const QString tool = toolPath("ffmpeg");
    if (!QFile::exists(tool))
        return false;
    const QString command = commandLine(tool, mIsPercentage ? buildSizeCommand() : buildQualityCommand());
    debugLine() << "ffmpeg cmd: " << command;
    // Direct: the host hears of progress also while its thread is busy.
    launch(command, static_cast<float>(mDurationMs), Qt::DirectConnection);
    return true;
}

bool VideoCompressor::estimate()
{
    if (!endRunningJob(this, mProcess))
        return true;
    mState = Running;
    const QString tool = toolPath("ffmpeg");
    if (!QFile::exists(tool))
        return false;
    launch(commandLine(tool, buildSampleCommand()), kSampleDurationMs, Qt::AutoConnection);
    return true;
}

void VideoCompressor::launch(const QString& command, float durationMs, Qt::ConnectionType progressConnection)
{
    if (QFile::exists(mProgressFilePath))
        QFile::remove(mProgressFilePath);
    mProcess = ToolProcess::makeFor(this);
    mProgressThread.reset(new ProgressThread(durationMs, mProgressFilePath));
    connect(mProgressThread.get(), SIGNAL(threadCompressProcess(float)), this,
            SLOT(onCompressProgress(float)), progressConnection);
    const auto cleanUp = [output = mOutputPath, input = mInputPath,
                          progress = mProgressFilePath](bool mayHaveOutput) {
        if (!mayHaveOutput)
            return;
        removeFailedOutput(output, input);
        if (QFile::exists(progress))
            QFile::remove(progress);
    };
    mProcess->run(command, cleanUp);
    mProgressThread->start(QThread::InheritPriority);
}

void VideoCompressor::stop()
{
    // After a true result this task may be gone: the finish came from inside, and it has done the rest. After
    // a false one it may have turned out that the encoder never started.
    if (mProcess && mProcess->state() != QProcess::NotRunning && mProcess->killAndWait())
        return;
    if (mProgressThread) {
        mProgressThread->requestStop();
        if (!mProgressThread->wait(ProgressThread::kStopTimeoutMs))
            debugLine() << "==============time wait out===========";
    }
    if (mProcess && mProcess->mayHaveOutput())
        removeFailedOutput(mOutputPath, mInputPath);
    mState = Failed;
}

void VideoCompressor::onCompressFinished(int exitCode, QProcess::ExitStatus exitStatus)
{
    ToolProcess::Ending ending(mProcess.get(), exitCode, exitStatus);
    ending.distrustFullDisk(mOutputPath);
    if (ending.exitCode() == 0) {
        finishSuccessfully(ending);
        return;
    }
    stop();
    ending.settle();
    emit compressFinished(ending.exitCode(), failureText(ending.exitCode()));
}

void VideoCompressor::finishSuccessfully(ToolProcess::Ending& ending)
{
    // What the monitor has not told yet comes too late; it goes on to ffmpeg's end marker.
    if (mProgressThread)
        mProgressThread->silence();
    mState = Succeeded;
    ending.settle();
    const QPointer<VideoCompressor> guard(this);
    emit compressProcess(1.0F);
    if (guard)
        emit compressFinished(0, QStringLiteral("successful"));
}

// May run in the monitor's thread, and so touches no member there.
void VideoCompressor::onCompressProgress(float progress)
{
    // A sample's progress is queued, and may arrive behind the run's end.
    const bool queuedTooLong =
        QThread::currentThread() == thread() && (mState == Succeeded || mState == Failed);
    if (!queuedTooLong)
        emit compressProcess(std::min(progress, 1.0F));
}
