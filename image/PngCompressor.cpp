#include "image/PngCompressor.h"

#include "image/CommandLine.h"

namespace {

QStringList arguments(const Workspace& workspace, const QString& quality)
{
    return {QStringLiteral("--quality"),     QLatin1String("0-") + quality, QStringLiteral("--force"),
            quotedPath(workspace.inputName), QStringLiteral("-o"),          quotedPath(workspace.outputName)};
}

} // namespace

PngCompressor::PngCompressor(const QVariantMap& params)
    : CompressTask(params), mJob({TaskKind::Png, "pngquant", arguments, "pngquant:"}, params)
{
}

bool PngCompressor::start()
{
    return mJob.start(this, mState);
}

void PngCompressor::stop()
{
    mJob.stop(mState);
}

void PngCompressor::onCompressFinished(int exitCode, QProcess::ExitStatus exitStatus)
{
    ToolProcess::Ending ending(mJob.process(), exitCode, exitStatus);
    if (ending.isRepeated())
        return;
    const Verdict verdict = mJob.finish(ending);
    emit compressFinished(verdict.finishCode, verdict.text);
}
