#include "image/Delivery.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QTemporaryFile>

#include <filesystem>

namespace {

constexpr qint64 kCopyBlockBytes = 1 << 20;
// ffmpeg writes so much at a time.
constexpr int kDiskProbeBytes = 1 << 15;

bool copyAll(QFile& source, QSaveFile& target)
{
    while (!source.atEnd()) {
        const QByteArray block = source.read(kCopyBlockBytes);
        if (block.isEmpty() || target.write(block) != block.size())
            return false;
    }
    return source.error() == QFileDevice::NoError;
}

} // namespace

bool isSameFile(const QString& path, const QString& other)
{
    std::error_code error;
    return std::filesystem::equivalent(QFileInfo(path).filesystemFilePath(),
                                       QFileInfo(other).filesystemFilePath(), error);
}

bool deliverFile(const QString& from, const QString& to)
{
    QFile source(from);
    QSaveFile target(to);
    // Unbuffered: a full disk must show at write(), since commit() takes no notice of a last buffer it
    // couldn't write.
    if (!source.open(QIODevice::ReadOnly) || !target.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return false;
    return copyAll(source, target) && target.commit();
}

void removeFailedOutput(const QString& outputPath, const QString& inputPath)
{
    if (!isSameFile(outputPath, inputPath))
        QFile::remove(outputPath);
}

// Asked by writing: free space in numbers knows neither quotas nor what is reserved for whom.
bool isDiskFull(const QString& outputPath)
{
    QTemporaryFile probe(QFileInfo(outputPath).absolutePath() + QLatin1String("/.diskprobe-XXXXXX"));
    if (!probe.open())
        return false;
    return probe.write(QByteArray(kDiskProbeBytes, 'x')) != kDiskProbeBytes || !probe.flush();
}
