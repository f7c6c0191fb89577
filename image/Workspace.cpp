#include "image/Workspace.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUuid>

#include "image/Delivery.h"
#include "image/FinishRule.h"

namespace {

bool deliver(ImageVerdict::Delivery delivery, const Workspace& workspace, const QString& outputPath)
{
    switch (delivery) {
    case ImageVerdict::Result:
        return deliverFile(workspace.outputPath, outputPath);
    case ImageVerdict::Source:
        return deliverFile(workspace.inputPath, outputPath);
    case ImageVerdict::Nothing:
        break;
    }
    return true;
}

} // namespace

Workspace makeWorkspace(const QString& sourcePath)
{
    const QString temporary = QStandardPaths::writableLocation(QStandardPaths::TempLocation);
    QTemporaryDir folder(temporary + QLatin1String("/compressXXXXXX"));
    folder.setAutoRemove(false);

    const QFileInfo source(sourcePath);
    Workspace workspace;
    workspace.dir = folder.isValid() ? folder.path() : QString();
    // Without a folder both names lie below one that nobody has, and so never meet a file of anyone.
    const QString base =
        folder.isValid() ? folder.path() : temporary + u'/' + QUuid::createUuid().toString(QUuid::Id128);
    workspace.inputPath = base + QLatin1String("/temporaryImage_1.") + source.suffix();
    workspace.outputPath = base + QLatin1String("/temporaryImage_2.") + source.suffix();
    // Only a regular file: reading a pipe or a device may never end.
    if (source.isFile())
        QFile::copy(sourcePath, workspace.inputPath);
    return workspace;
}

void removeWorkspace(const QString& dir)
{
    if (!dir.isEmpty())
        QDir(dir).removeRecursively();
}

ImageReport finishWorkspaceRun(ToolProcess::Ending& ending, int corruptInputCode, const Workspace& workspace,
                               const QString& outputPath)
{
    ImageVerdict verdict{ending.exitCode(), false, true, ImageVerdict::Nothing};
    if (!ending.failedToStart()) {
        verdict =
            judgeImageRun({ending.exitCode(), corruptInputCode, ending.isWhole(),
                           QFileInfo(workspace.inputPath).size(), QFileInfo(workspace.outputPath).size()});
    }
    if (!deliver(verdict.delivery, workspace, outputPath))
        verdict = kNoOutputVerdict;
    removeWorkspace(workspace.dir);
    ending.settle();
    if (verdict.logged)
        ending.log();
    return {verdict.finishCode, verdict.corruptInput
                                    ? QStringLiteral("The file is corrupt or not a standard file format")
                                    : QString()};
}
