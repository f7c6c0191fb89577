#include "video/ProgressFile.h"

#include <QDir>
#include <QFile>

#include <atomic>

#include "image/CommandLine.h"
#include "image/Workspace.h"
#include "process/Files.h"

using namespace Qt::StringLiterals;

namespace {

// The first build of a process takes number 2.
std::atomic<qint32> counter = 1;

} // namespace

QString ProgressFile::newPath()
{
    const qint32 number = ++counter;
    return QDir::cleanPath(temporaryLocation() + u'/' + u"progress_%1.txt"_s.arg(number));
}

QStringList ProgressFile::elements(const QString& path)
{
    return {u"-progress"_s, quotedPath(path)};
}

bool ProgressFile::remove(const QString& path)
{
    return !QFile::exists(path) || !Files::remove(Files::native(path));
}
