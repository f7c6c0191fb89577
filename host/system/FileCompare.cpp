#include "host/system/FileCompare.h"

#include <QFile>

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
