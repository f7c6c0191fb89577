#include "image/Workspace.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUuid>

#include "image/Delivery.h"
#include "process/Files.h"
#include "process/Programs.h"

using namespace Qt::StringLiterals;

// On Unix, Qt names no temporary location as long as there is none.
QString temporaryLocation()
{
    const QString place = QStandardPaths::writableLocation(QStandardPaths::TempLocation);
    QDir().mkpath(place.isEmpty() ? qEnvironmentVariable("TMPDIR") : place);
    return place.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::TempLocation) : place;
}

namespace {

// One run at a time has the plain name; making a folder fails where there is one.
QString makeWorkspaceFolder()
{
    const QString plain = temporaryLocation() + "/compress"_L1;
    return QDir().mkdir(plain, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner) ? plain
                                                                                       : makePrivateFolder();
}

} // namespace

Workspace makeWorkspace(const QString& sourcePath)
{
    const QFileInfo source(sourcePath);
    Workspace workspace;
    workspace.sourcePath = sourcePath;
    workspace.dir = makeWorkspaceFolder();
    // Without a folder both names lie below one that nobody has, and so never meet a file of anyone.
    const QString base = workspace.dir.isEmpty()
                             ? temporaryLocation() + u'/' + QUuid::createUuid().toString(QUuid::Id128)
                             : workspace.dir;
    const bool plain = Programs::takesPath(base);
    const QString suffix = Programs::takesPath(source.suffix()) ? source.suffix() : QString();
    const QString inputName = "temporaryImage_1."_L1 + suffix;
    const QString outputName = "temporaryImage_2."_L1 + suffix;
    workspace.inputPath = base + u'/' + inputName;
    workspace.outputPath = base + u'/' + outputName;
    workspace.inputName = plain ? workspace.inputPath : inputName;
    workspace.outputName = plain ? workspace.outputPath : outputName;
    workspace.workingFolder = plain ? QString() : workspace.dir;
    // Reading a pipe or a device may never end. Half a source would make half a picture: then there is none.
    if (source.isFile())
        copyFile(sourcePath, workspace.inputPath);
    return workspace;
}

QString makePrivateFolder()
{
    QTemporaryDir folder(temporaryLocation() + "/compressXXXXXX"_L1);
    folder.setAutoRemove(false);
    return folder.isValid() ? folder.path() : QString();
}

bool removeWorkspace(const QString& dir)
{
    return dir.isEmpty() || !Files::removeTree(Files::native(dir));
}
