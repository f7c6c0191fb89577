#include "image/CommandLine.h"

#include <QCoreApplication>
#include <QDir>
#include <QMutex>

#include "process/Files.h"
#include "process/Programs.h"

using namespace Qt::StringLiterals;

namespace {

QMutex folderMutex;

// ffmpeg takes what stands before a colon for a protocol, but for a drive's letter.
bool looksLikeProtocol(const QString& path)
{
    return path.contains(u':') && QDir::isRelativePath(path) && !Files::namesADrive(path);
}

} // namespace

QString quotedPath(const QString& path)
{
    QString text = path;
    // Three quotes in a row are one literal quote, inside a quoted stretch and outside.
    text.replace(u'"', "\"\"\""_L1);
    if (text.startsWith(u'-') || looksLikeProtocol(path))
        text.prepend("./"_L1);
    return u'"' + text + u'"';
}

QString toolPath(const char* tool)
{
    // Qt finds the folder out at the first call and keeps it, and two threads must not do so at once.
    const QMutexLocker lock(&folderMutex);
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + u'/' + Programs::fileName(tool));
}

QString commandLine(const QString& tool, const QStringList& fragments)
{
    return quotedPath(tool) + u' ' + fragments.join(u' ');
}
