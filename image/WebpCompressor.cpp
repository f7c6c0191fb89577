#include "image/WebpCompressor.h"

#include <QFile>
#include <QFileInfo>

#include "compressor/FinishCode.h"
#include "image/CommandLine.h"
#include "image/Delivery.h"
#include "process/Files.h"

using namespace Qt::StringLiterals;

WebpCompressor::WebpCompressor(const QVariantMap& params)
    : CompressTask(params), mInputPath(params.value(u"inputPath"_s).toString()),
      mOutputPath(params.value(u"outputPath"_s).toString()), mQuality(params.value(u"quality"_s).toString()),
      mNames(mInputPath, mOutputPath)
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
    // ffmpeg would cut the source before it reads it.
    if (isSameFile(mInputPath, mOutputPath) || Files::isPipe(Files::native(mInputPath))) {
        mNames = PlainNames(mInputPath, mOutputPath);
        mProcess->refuse();
        return true;
    }
    mNames = PlainNames::forRun(mInputPath, mOutputPath);
    if (!mNames.isReadable()) {
        mProcess->refuse();
        return true;
    }
    mProcess->run({commandLine(tool, buildCommand()), mNames.output(), QString(), mNames.cleanUp()});
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
        mNames.removeOutput();
}

void WebpCompressor::onCompressFinished(int exitCode, QProcess::ExitStatus exitStatus)
{
    ToolProcess::Ending ending(mProcess.get(), exitCode, exitStatus);
    if (ending.isRepeated())
        return;
    ending.distrustFullDisk(mNames.output());
    Verdict verdict = judgeRun(ending);
    const bool outgrown = verdict.text.isEmpty();
    const bool delivered = verdict.delivery != Verdict::Nothing && deliver(verdict.delivery);
    if (!delivered && ending.exitCode() == FinishCode::kSuccess)
        verdict = undelivered(TaskKind::Webp);

    if (!delivered && outgrown)
        mNames.removeOutput();
    else if (!delivered && ending.hadEncoder())
        stop();
    mNames.removeLink();
    if (!delivered || outgrown)
        ending.log();
    mState = delivered ? Succeeded : Failed;
    ending.settle();
    emit compressFinished(verdict.finishCode, verdict.text);
}

Verdict WebpCompressor::judgeRun(const ToolProcess::Ending& ending) const
{
    const QFileInfo output(mNames.output());
    // A folder at the output path has a size too.
    const qint64 resultBytes = ending.hadEncoder() && output.isFile() ? output.size() : 0;
    return judge(TaskKind::Webp,
                 {ending.exitCode(), ending.isWhole(), QFileInfo(mInputPath).size(), resultBytes});
}

bool WebpCompressor::deliver(Verdict::Delivery delivery) const
{
    if (delivery == Verdict::Result)
        return mNames.deliver();
    if (!deliverSource(mInputPath, mInputPath, mOutputPath))
        return false;
    if (mNames.output() != mOutputPath)
        mNames.removeOutput();
    return true;
}

QStringList WebpCompressor::buildCommand()
{
    return {u"-i"_s,  quotedPath(mNames.input()), u"-y"_s, u"-c:v"_s, u"libwebp"_s, u"-quality"_s,
            mQuality, quotedPath(mNames.output())};
}
