#include "image/Delivery.h"

#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QSaveFile>

#include "image/ContainerEnd.h"
#include "process/Files.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kCopyBlockBytes = 1 << 20;
// ffmpeg writes so much at once: where a write has failed, less is left. Its progress file may have lain
// there too.
constexpr std::uintmax_t kWriteBytes = 1 << 15;
constexpr std::uintmax_t kAmpleRoomBytes = 1 << 20;

// Both unbuffered: a full disk must show at write(), since closing takes no notice of a last buffer that
// could not be written.
constexpr QIODevice::OpenMode kRead = QIODevice::ReadOnly | QIODevice::Unbuffered;
constexpr QIODevice::OpenMode kWrite = QIODevice::WriteOnly | QIODevice::Unbuffered;

bool copyAll(QFile& source, QFileDevice& target)
{
    QByteArray block(kCopyBlockBytes, Qt::Uninitialized);
    for (;;) {
        const qint64 bytes = source.read(block.data(), block.size());
        if (bytes <= 0)
            return bytes == 0 && source.error() == QFileDevice::NoError;
        if (target.write(block.constData(), bytes) != bytes)
            return false;
    }
}

} // namespace

Sameness sameness(const QString& path, const QString& other)
{
    const Files::Id one = Files::idOf(Files::native(path));
    const Files::Id two = Files::idOf(Files::native(other));
    if (one.state == Files::Id::Missing || two.state == Files::Id::Missing)
        return Sameness::Different;
    if (one.state == Files::Id::Unknown || two.state == Files::Id::Unknown)
        return Sameness::Unknown;
    return one.id == two.id ? Sameness::Same : Sameness::Different;
}

bool isSameFile(const QString& path, const QString& other)
{
    return sameness(path, other) != Sameness::Different;
}

QString finalPath(const QString& path)
{
    const QFileInfo info(path);
    if (!info.isSymbolicLink())
        return path;
    const QString target = info.canonicalFilePath();
    return target.isEmpty() ? info.symLinkTarget() : target;
}

// Of its own choosing, not made from the file's: that may have no room for more.
QString privateNameBeside(const QString& path, const QString& suffix)
{
    const QString name = QString::number(QRandomGenerator::global()->generate64(), 36);
    return QFileInfo(path).path() + "/.vx-"_L1 + name + (suffix.isEmpty() ? QString() : u'.' + suffix);
}

bool copyFile(const QString& from, const QString& to)
{
    QFile source(from);
    QFile target(to);
    if (!source.open(kRead) || !target.open(kWrite | QIODevice::NewOnly))
        return false;
    if (copyAll(source, target))
        return true;
    target.remove();
    return false;
}

bool deliverFile(const QString& from, const QString& to,
                 const std::optional<QFileDevice::Permissions>& permissions)
{
    const QString place = finalPath(to);
    const QFileInfo existing(place);
    if (existing.exists() && !(existing.isFile() && existing.isWritable()))
        return false;
    // The name that is there may be too long for QSaveFile's own draft beside it.
    const QString draft = privateNameBeside(place);
    QFile source(from);
    QSaveFile target(draft);
    if (!source.open(kRead) || !target.open(kWrite))
        return false;
    if (permissions || existing.exists())
        target.setPermissions(permissions.value_or(existing.permissions()));
    if (!copyAll(source, target) || !target.commit())
        return false;
    if (!Files::rename(Files::native(draft), Files::native(place), true))
        return true;
    Files::remove(Files::native(draft));
    return false;
}

bool deliverSource(const QString& from, const QString& source, const QString& to)
{
    return deliverFile(from, to, QFileInfo(QFileInfo::exists(source) ? source : from).permissions());
}

bool removeFailedOutput(const QString& outputPath, const QString& inputPath)
{
    const QString written = finalPath(outputPath);
    // No encoder makes a folder or a device.
    if (!QFileInfo(written).isFile() || isSameFile(written, inputPath))
        return true;
    return !Files::remove(Files::native(written));
}

bool mayBeCutByFullDisk(const QString& outputPath)
{
    std::error_code error;
    const QString place = finalPath(outputPath);
    const auto space = std::filesystem::space(Files::native(QFileInfo(place).absolutePath()), error);
    if (error || space.available >= kAmpleRoomBytes)
        return false;
    return !hasItsEnd(place).value_or(space.available >= kWriteBytes);
}
