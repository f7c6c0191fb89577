#include "host/system/PlatformFiles.h"

#include <QFile>

#include "host/system/NativePath.h"
#include "process/Files.h"

namespace Platform {

namespace {

QString reasonOf(const std::error_code& error)
{
    return error ? qt_error_string(error.value()).trimmed() : QString();
}

} // namespace

QString rename(const QString& from, const QString& to, bool replace)
{
    return reasonOf(Files::rename(NativePath::toNative(from), NativePath::toNative(to), replace));
}

QString copy(const QString& from, const QString& to)
{
    return reasonOf(Files::copy(NativePath::toNative(from), NativePath::toNative(to)));
}

bool removeTree(const QString& path)
{
    return !Files::removeTree(NativePath::toNative(path));
}

bool removeEmptyFolder(const QString& folder)
{
    return !Files::removeFolder(NativePath::toNative(folder));
}

bool haveSameContent(const QString& path, const QString& other)
{
    constexpr qint64 kBlockBytes = 1 << 20;
    QFile file(path);
    QFile otherFile(other);
    if (!file.open(QIODevice::ReadOnly) || !otherFile.open(QIODevice::ReadOnly) ||
        file.size() != otherFile.size())
        return false;
    while (!file.atEnd()) {
        const QByteArray block = file.read(kBlockBytes);
        if (block.isEmpty() || block != otherFile.read(kBlockBytes))
            return false;
    }
    return true;
}

} // namespace Platform
