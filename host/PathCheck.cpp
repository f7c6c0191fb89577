#include "host/PathCheck.h"

#include <QFile>
#include <QFileInfo>

#include "host/StagedOutput.h"

namespace {

QString checkInput(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return QStringLiteral("there is no file %1").arg(path);
    // Reading a pipe or a device may never end, and nothing tells its size.
    if (!info.isFile())
        return QStringLiteral("%1 is not a regular file").arg(path);
    // Opened rather than asked: permissions don't tell everything.
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
    if (info.size() == 0)
        return QStringLiteral("%1 is empty").arg(path);
    return {};
}

QString checkOutput(const Options& options)
{
    const QFileInfo output(options.outputPath);
    if (output.exists() && !output.isFile())
        return QStringLiteral("%1 is not a regular file").arg(options.outputPath);
    if (output.exists() && !options.force)
        return QStringLiteral("%1 exists already; --force replaces it").arg(options.outputPath);
    const QFileInfo folder(QFileInfo(StagedOutput::finalPath(options.outputPath)).path());
    if (!folder.isDir())
        return QStringLiteral("there is no folder %1 for the output").arg(folder.filePath());
    return {};
}

} // namespace

QString checkPaths(const Options& options)
{
    const QString error = checkInput(options.inputPath);
    // An estimate writes no output.
    return error.isEmpty() && !options.estimate ? checkOutput(options) : error;
}
