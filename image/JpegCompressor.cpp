#include "image/JpegCompressor.h"

#include "image/CommandLine.h"

using namespace Qt::StringLiterals;

namespace {

QStringList arguments(const Workspace& workspace, const QString& quality)
{
    return {u"-outfile"_s,  quotedPath(workspace.outputName), u"-quality"_s, quality,
            u"-baseline"_s, quotedPath(workspace.inputName)};
}

} // namespace

JpegCompressor::JpegCompressor(const QVariantMap& params)
    : CompressTask(params), mJob({TaskKind::Jpeg, "cJpeg", arguments, nullptr}, params)
{
}

bool JpegCompressor::start()
{
    return mJob.start(this, mState);
}

void JpegCompressor::stop()
{
    mJob.stop(mState);
}

void JpegCompressor::onCompressFinished(int exitCode, QProcess::ExitStatus exitStatus)
{
    ToolProcess::Ending ending(mJob.process(), exitCode, exitStatus);
    if (ending.isRepeated())
        return;
    const Verdict verdict = mJob.finish(ending);
    emit compressFinished(verdict.finishCode, verdict.text);
}
