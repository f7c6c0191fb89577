#include "image/JpegCompressor.h"

#include <QFile>

#include <utility>

#include "image/CommandLine.h"
#include "image/Workspace.h"

namespace {

// cJpeg's exit code for every error; an input that is no image is the likely one.
constexpr int kCorruptInputCode = 1;

} // namespace

JpegCompressor::JpegCompressor(const QVariantMap& params)
    : CompressTask(params), mInputPath(params.value(QStringLiteral("inputPath")).toString()),
      mOutputPath(params.value(QStringLiteral("outputPath")).toString()),
      mQuality(params.value(QStringLiteral("quality")).toString())
{
}

bool JpegCompressor::start()
{
    if (!endRunningJob(this, mProcess))
        return true;
    mProcess = ToolProcess::makeFor(this);
    const QString tool = toolPath("cJpeg");
    if (!QFile::exists(tool))
        return false;
    const QString command = commandLine(tool, buildCommand());
    mProcess->run(command, [dir = mCompressDir](bool) { removeWorkspace(dir); });
    mState = Running;
    return true;
}

void JpegCompressor::stop()
{
    if (!mProcess)
        return;
    mState = Stopped;
    mProcess->killAndWait();
}

void JpegCompressor::onCompressFinished(int exitCode, QProcess::ExitStatus exitStatus)
{
    ToolProcess::Ending ending(mProcess.get(), exitCode, exitStatus);
    const ImageReport report = finishWorkspaceRun(
        ending, kCorruptInputCode,
        {std::exchange(mCompressDir, {}), mTempInputPath, mTempOutputPath, mInputPath}, mOutputPath);
    emit compressFinished(report.finishCode, report.description);
}

QStringList JpegCompressor::buildCommand()
{
    const Workspace workspace = makeWorkspace(mInputPath);
    mCompressDir = workspace.dir;
    mTempInputPath = workspace.inputPath;
    mTempOutputPath = workspace.outputPath;
    return {QStringLiteral("-outfile"),  quotedPath(mTempOutputPath), QStringLiteral("-quality"), mQuality,
            QStringLiteral("-baseline"), quotedPath(mTempInputPath)};
}
