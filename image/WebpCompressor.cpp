#include "image/WebpCompressor.h"

#include <QFile>
#include <QFileInfo>

#include "image/CommandLine.h"
#include "image/Delivery.h"

namespace {

constexpr int kNotDeliveredCode = 2;

} // namespace

WebpCompressor::WebpCompressor(const QVariantMap& params)
    : CompressTask(params), mInputPath(params.value(QStringLiteral("inputPath")).toString()),
      mOutputPath(params.value(QStringLiteral("outputPath")).toString()),
      mQuality(params.value(QStringLiteral("quality")).toString())
{
}

bool WebpCompressor::start()
{
    if (!endRunningJob(this, mProcess))
        return true;
    mState = Running;
    mProcess = ToolProcess::makeFor(this);
    const QString tool = toolPath("ffmpeg");
    if (!QFile::exists(tool))
        return false;
    mProcess->run(commandLine(tool, buildCommand()),
                  [output = mOutputPath, input = mInputPath](bool mayHaveOutput) {
                      if (mayHaveOutput)
                          removeFailedOutput(output, input);
                  });
    return true;
}

void WebpCompressor::stop()
{
    if (!mProcess)
        return;
    mState = Stopped;
    // After a true result this task may be gone: the finish came from inside, and it has cleaned up. After a
    // false one it may have turned out that the encoder never started.
    if (!mProcess->killAndWait() && mProcess->mayHaveOutput())
        removeFailedOutput(mOutputPath, mInputPath);
}

void WebpCompressor::onCompressFinished(int exitCode, QProcess::ExitStatus exitStatus)
{
    ToolProcess::Ending ending(mProcess.get(), exitCode, exitStatus);
    ending.distrustFullDisk(mOutputPath);
    const QFileInfo output(mOutputPath);
    // A folder at the output path has a size too.
    const bool larger = output.isFile() && output.size() > QFileInfo(mInputPath).size();
    if (larger && !ending.failedToStart()) {
        const bool delivered = replaceBySource(ending);
        ending.log();
        mState = delivered ? Succeeded : Failed;
        const bool lost = ending.exitCode() == 0 && !delivered;
        finish(ending, lost ? kNotDeliveredCode : ending.exitCode(),
               lost ? QStringLiteral("fail") : QString());
    } else if (ending.exitCode() != 0) {
        stop();
        ending.log();
        mState = Failed;
        finish(ending, ending.exitCode(), QStringLiteral("fail"));
    } else {
        mState = Succeeded;
        finish(ending, 0, QStringLiteral("successful"));
    }
}

// The result of a crashed or stopped encoder goes without a replacement.
bool WebpCompressor::replaceBySource(const ToolProcess::Ending& ending)
{
    if (ending.isWhole() && deliverFile(mInputPath, mOutputPath))
        return true;
    removeFailedOutput(mOutputPath, mInputPath);
    return false;
}

void WebpCompressor::finish(ToolProcess::Ending& ending, int finishCode, const QString& description)
{
    ending.settle();
    emit compressFinished(finishCode, description);
}

QStringList WebpCompressor::buildCommand()
{
    return {QStringLiteral("-i"),
            quotedPath(mInputPath),
            overwriteOption(mInputPath, mOutputPath),
            QStringLiteral("-c:v"),
            QStringLiteral("libwebp"),
            QStringLiteral("-quality"),
            mQuality,
            quotedPath(mOutputPath)};
}
