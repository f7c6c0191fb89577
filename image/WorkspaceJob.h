#pragma once

#include <QStringList>
#include <QVariantMap>

#include "image/FinishRule.h"
#include "image/ToolProcess.h"
#include "image/Workspace.h"

/// What a JPEG and a PNG task do alike: they let an encoder work on a copy of the source, and deliver its
/// result, or the source when that is smaller.
class WorkspaceJob
{
public:
    struct Encoder
    {
        TaskKind kind;
        const char* tool;
        QStringList (*arguments)(const Workspace& workspace, const QString& quality);
        /// What the debug log says of the tool's path at a start; may be null.
        const char* announcement;
    };

    WorkspaceJob(const Encoder& encoder, const QVariantMap& params);

    /// The operations of the task, which hands itself and its state in.
    bool start(ICompressTask* task, qint32& state);
    void stop(qint32& state);

    ToolProcess* process() const { return mProcess.get(); }
    /// Judges a run, delivers and cleans up. All that is left is to tell the host.
    Verdict finish(ToolProcess::Ending& ending);

private:
    Encoder mEncoder;
    Workspace mWorkspace;
    QString mInputPath;
    QString mOutputPath;
    QString mQuality;
    ToolProcess::Pointer mProcess;
};
