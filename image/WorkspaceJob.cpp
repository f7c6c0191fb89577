#include "image/WorkspaceJob.h"

#include <QFile>
#include <QFileInfo>

#include <utility>

#include "compressor/CompressTask.h"
#include "image/CommandLine.h"
#include "image/Delivery.h"
#include "log/DebugLine.h"

using namespace Qt::StringLiterals;

namespace {

bool deliver(Verdict::Delivery delivery, const Workspace& workspace, const QString& outputPath)
{
    switch (delivery) {
    case Verdict::Result:
        return deliverFile(workspace.outputPath, outputPath);
    case Verdict::Source:
        // In place, the source is where it belongs.
        return sameness(workspace.sourcePath, outputPath) == Sameness::Same ||
               deliverSource(workspace.inputPath, workspace.sourcePath, outputPath);
    case Verdict::Nothing:
        break;
    }
    return true;
}

} // namespace

WorkspaceJob::WorkspaceJob(const Encoder& encoder, const QVariantMap& params)
    : mEncoder(encoder), mInputPath(params.value(u"inputPath"_s).toString()),
      mOutputPath(params.value(u"outputPath"_s).toString()), mQuality(params.value(u"quality"_s).toString())
{
}

bool WorkspaceJob::start(ICompressTask* task, qint32& state)
{
    if (!endRunningJob(task, mProcess))
        return true;
    mProcess = ToolProcess::makeFor(task);
    const QString tool = toolPath(mEncoder.tool);
    if (mEncoder.announcement)
        debugLine() << mEncoder.announcement << tool;
    if (!QFile::exists(tool))
        return false;
    mWorkspace = makeWorkspace(mInputPath);
    mProcess->run({commandLine(tool, mEncoder.arguments(mWorkspace, mQuality)), QString(),
                   mWorkspace.workingFolder, [dir = mWorkspace.dir](bool) { return removeWorkspace(dir); }});
    state = CompressTask::Running;
    return true;
}

void WorkspaceJob::stop(qint32& state)
{
    if (!mProcess)
        return;
    state = CompressTask::Stopped;
    mProcess->killAndWait();
}

Verdict WorkspaceJob::finish(ToolProcess::Ending& ending)
{
    const Workspace workspace = std::exchange(mWorkspace, {});
    Verdict verdict{ending.exitCode(), {}, Verdict::Nothing};
    if (ending.hadEncoder()) {
        verdict =
            judge(mEncoder.kind, {ending.exitCode(), ending.isWhole(), QFileInfo(workspace.inputPath).size(),
                                  QFileInfo(workspace.outputPath).size()});
    }
    if (!deliver(verdict.delivery, workspace, mOutputPath))
        verdict = undelivered(mEncoder.kind);
    removeWorkspace(workspace.dir);
    ending.settle();
    if (verdict.logged)
        ending.log();
    return verdict;
}
