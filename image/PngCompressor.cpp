#include "image/PngCompressor.h"

#include <QFile>

#include <utility>

#include "image/CommandLine.h"
#include "image/DebugLine.h"
#include "image/Workspace.h"

namespace {

// pngquant's exit code for an input that is no image.
constexpr int kCorruptInputCode = 25;

} // namespace

PngCompressor::PngCompressor(const QVariantMap& params)
    : CompressTask(params), mInputPath(params.value(QStringLiteral("inputPath")).toString()),
      mOutputPath(params.value(QStringLiteral("outputPath")).toString()),
      mQuality(params.value(QStringLiteral("quality")).toString())
{
}

bool PngCompressor::start()
{
    if (!endRunningJob(this, mProcess))
        return true;
    mProcess = ToolProcess::makeFor(this);
    const QString tool = toolPath("pngquant");
    debugLine() << "pngquant:" << tool;
    if (!QFile::exists(tool))
        return false;
    const QString command = commandLine(tool, buildCommand());
    mProcess->run(command, [dir = mCompressDir](bool) { removeWorkspace(dir); });
    mState = Running;
    return true;
}

void PngCompressor::stop()
{
    if (!mProcess)
        return;
    mState = Stopped;
    mProcess->killAndWait();
}

void PngCompressor::onCompressFinished(int exitCode, QProcess::ExitStatus exitStatus)
{
    ToolProcess::Ending ending(mProcess.get(), exitCode, exitStatus);
    const ImageReport report = finishWorkspaceRun(
        ending, kCorruptInputCode,
        {std::exchange(mCompressDir, {}), mTempInputPath, mTempOutputPath, mInputPath}, mOutputPath);
    emit compressFinished(report.finishCode, report.description);
}

QStringList PngCompressor::buildCommand()
{
    const Workspace workspace = makeWorkspace(mInputPath);
    mCompressDir = workspace.dir;
    mTempInputPath = workspace.inputPath;
    mTempOutputPath = workspace.outputPath;
    return {QStringLiteral("--quality"), QLatin1String("0-") + mQuality, QStringLiteral("--force"),
            quotedPath(mTempInputPath),  QStringLiteral("-o"),           quotedPath(mTempOutputPath)};
}
