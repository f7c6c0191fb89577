#pragma once

#include <QString>

#include "image/ToolProcess.h"

/// The private folder of one JPEG or PNG run, so that any number of them may run at once.
struct Workspace
{
    QString dir;        ///< empty when it could not be made
    QString inputPath;  ///< the copy of the source that the encoder reads
    QString outputPath; ///< where the encoder writes
    QString sourcePath; ///< the source itself, which no encoder sees
};

/// Makes a folder directly in the temporary location, for this user alone, and copies the source into it.
/// A failed step shows as a missing file, which the encoder and the finish rule then report.
Workspace makeWorkspace(const QString& sourcePath);

/// Removes the folder with everything in it; an empty text does nothing.
void removeWorkspace(const QString& dir);

/// What the host is told of a run's end.
struct ImageReport
{
    int finishCode;
    QString description;
};

/// Ends a run in a workspace: judges it, delivers the result (or the source, when that is smaller) to
/// `outputPath`, removes the workspace, writes the log line and settles the run. All that is left is to tell
/// the host.
ImageReport finishWorkspaceRun(ToolProcess::Ending& ending, int corruptInputCode, const Workspace& workspace,
                               const QString& outputPath);
