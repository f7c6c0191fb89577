#include "image/Platform.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace Platform {

QString executableName(const char* tool)
{
    return QLatin1String(tool);
}

bool wasKilled(int exitCode, QProcess::ExitStatus exitStatus)
{
    return exitStatus == QProcess::CrashExit && exitCode == SIGKILL;
}

bool hasCrashed(int, QProcess::ExitStatus exitStatus)
{
    return exitStatus == QProcess::CrashExit;
}

const bool kKillMayLookLikeSuccess = false;

FileId fileId(const QString& path)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) == 0)
        return {FileId::Known, {quint64(status.st_dev), quint64(status.st_ino), 0}};
    for (const int absent : {ENOENT, ENOTDIR, ELOOP, ENAMETOOLONG}) {
        if (errno == absent)
            return {};
    }
    return {FileId::Unknown, {}};
}

bool isPipe(const QString& path)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 && S_ISFIFO(status.st_mode);
}

bool removeFile(const QString& path)
{
    return QFile::remove(path);
}

bool removeFolder(const QString& path)
{
    return QDir(path).removeRecursively();
}

bool replaceFile(const QString& from, const QString& to)
{
    return ::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

bool namesADrive(const QString&)
{
    return false;
}

// Not a hard link, which would show in the file's own link count and time.
bool linkFile(const QString& target, const QString& link)
{
    const QByteArray absolute = QFile::encodeName(QDir::current().absoluteFilePath(target));
    return ::symlink(absolute.constData(), QFile::encodeName(link).constData()) == 0;
}

bool isPlainForTools(const QString&)
{
    return true;
}

} // namespace Platform
