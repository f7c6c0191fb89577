#include "host/FailureText.h"

#include <QStorageInfo>

#include "host/SizeText.h"

namespace {

constexpr int kKilled = 62097;
constexpr int kFailedToStart = -2;
constexpr int kCorrupt = 1;
constexpr int kNoResult = 2;

QString meaning(const Format& format, const QString& inputPath, int code, const QString& description)
{
    const QLatin1String encoder(format.encoder);
    if (code == kFailedToStart)
        return QStringLiteral("the encoder %1 could not be started: run scripts/setup, then build again")
            .arg(encoder);
    if (code == kKilled)
        return QStringLiteral("the encoder %1 was killed, perhaps for want of memory").arg(encoder);
    if (format.unreadable && code == kCorrupt && !description.isEmpty())
        return inputPath + u' ' + QLatin1String(format.unreadable);
    if (format.unreadable && code == kNoResult)
        return QStringLiteral("the encoder %1 made no faultless result of %2").arg(encoder, inputPath);
    if (!format.isVideo())
        return QStringLiteral("the encoder %1 failed: is %2 a whole image?").arg(encoder, inputPath);
    if (code == kCorrupt)
        return QStringLiteral(
                   "the encoder %1 refused: is %2 a whole video, and can the output's container hold H.264?")
            .arg(encoder, inputPath);
    return QStringLiteral("the encoder %1 failed on %2").arg(encoder, inputPath);
}

} // namespace

QString failureText(const Format& format, const QString& inputPath, int code, const QString& description)
{
    return QStringLiteral("%1 (code %2)").arg(meaning(format, inputPath, code, description)).arg(code);
}

QString roomHint(const QStringList& folders, qint64 bytes)
{
    for (const QString& folder : folders) {
        const QStorageInfo disk(folder);
        if (disk.isValid() && disk.bytesAvailable() < bytes) {
            return QStringLiteral("; the disk of %1 may be full: it has room for %2")
                .arg(folder, sizeText(disk.bytesAvailable()));
        }
    }
    return {};
}
