#include "image/PngCompressor.h"

#include "image/CommandLine.h"

using namespace Qt::StringLiterals;

namespace {

QStringList arguments(const Workspace& workspace, const QString& quality)
{
    return {u"--quality"_s, "0-"_L1 + quality,
            u"--force"_s,   quotedPath(workspace.inputName),
            u"-o"_s,        quotedPath(workspace.outputName)};
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
