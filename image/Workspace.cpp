#include "image/Workspace.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUuid>

#include <filesystem>

#include "image/Delivery.h"
#include "image/FinishRule.h"

namespace {

bool deliver(ImageVerdict::Delivery delivery, const Workspace& workspace, const QString& outputPath)
{
    switch (delivery) {
    case ImageVerdict::Result:
        return deliverFile(workspace.outputPath, outputPath);
    case ImageVerdict::Source:
        // In place, the source is where it belongs.
        return isSameFile(workspace.sourcePath, outputPath) || deliverFile(workspace.inputPath, outputPath);
    case ImageVerdict::Nothing:
        break;
    }
    return true;
}

// Not QFile::copy(), which waits until the disk has the copy: it lives for a moment only.
void copySource(const QFileInfo& source, const QString& copyPath)
{
    // Reading a pipe or a device may never end.
    if (!source.isFile())
        return;
    std::error_code error;
    std::filesystem::copy_file(source.filesystemFilePath(), QFileInfo(copyPath).filesystemFilePath(), error);
    // Half a source would make half a picture.
    if (error)
        QFile::remove(copyPath);
}

} // namespace

Workspace makeWorkspace(const QString& sourcePath)
{
    const QString temporary = QStandardPaths::writableLocation(QStandardPaths::TempLocation);
    QTemporaryDir folder(temporary + QLatin1String("/compressXXXXXX"));
    folder.setAutoRemove(false);

    const QFileInfo source(sourcePath);
    Workspace workspace;
    workspace.sourcePath = sourcePath;
    workspace.dir = folder.isValid() ? folder.path() : QString();
    // Without a folder both names lie below one that nobody has, and so never meet a file of anyone.
    const QString base =
        folder.isValid() ? folder.path() : temporary + u'/' + QUuid::createUuid().toString(QUuid::Id128);
    workspace.inputPath = base + QLatin1String("/temporaryImage_1.") + source.suffix();
    workspace.outputPath = base + QLatin1String("/temporaryImage_2.") + source.suffix();
    copySource(source, workspace.inputPath);
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
