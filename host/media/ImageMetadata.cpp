#include "host/media/ImageMetadata.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLibrary>
#include <QMutex>
#include <QSaveFile>

#include "host/media/ImageChunks.h"
#include "host/media/Losses.h"
#include "host/media/MediaFacts.h"
#include "host/media/MetadataModule.h"

using namespace Qt::StringLiterals;

namespace {

// Images lie in memory while this goes on.
constexpr qint64 kMostBytes = qint64(1) << 30;

MergeMetadata loadModule(QString& error)
{
    // With the libraries, as installed and as built; beside the program on Windows and in Debian's package.
    for (const char* folder : {VXC_LIBRARY_FOLDER, "../lib", "."}) {
        const QString path =
            QCoreApplication::applicationDirPath() + u'/' + QLatin1String(folder) + u"/vxcompress_metadata"_s;
        QLibrary library(QDir::cleanPath(path));
        if (const auto function = library.resolve("vxcMergeMetadata"))
            return reinterpret_cast<MergeMetadata>(function);
        if (error.isEmpty())
            error = library.errorString();
    }
    return nullptr;
}

// Returns the reason of a failure.
QString readFile(const QString& path, QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return file.errorString();
    if (file.size() > kMostBytes)
        return u"the image is too large"_s;
    bytes = file.readAll();
    return {};
}

MediaFacts factsOf(QByteArray& bytes)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return inspectMedia(buffer);
}

// The image with what the module left to be put in; empty when that fails.
QByteArray completed(const MetadataCopy& copy, const MediaFacts& result)
{
    if (copy.format == MediaFormat::Png)
        return withPngChunks(copy.result, copy.iccProfile, copy.exif);
    return copy.format == MediaFormat::WebP ? withWebpProfile(copy.result, copy.iccProfile, result)
                                            : copy.result;
}

bool isSameImage(const MediaFacts& made, const MediaFacts& result)
{
    return made.format == result.format && made.damage.isEmpty() && made.size == result.size &&
           made.hasAlpha == result.hasAlpha && made.isAnimated == result.isAnimated;
}

QString replaceFile(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    const bool isReplaced =
        file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
    return isReplaced ? QString() : file.errorString();
}

} // namespace

QString copyImageMetadata(const QString& sourcePath, const QString& resultPath)
{
    MetadataCopy copy;
    QString error = readFile(sourcePath, copy.source);
    if (error.isEmpty())
        error = readFile(resultPath, copy.result);
    if (!error.isEmpty())
        return error;
    const MediaFacts source = factsOf(copy.source);
    const MediaFacts result = factsOf(copy.result);
    copy.format = result.format;
    copy.isTurnedUpright = isTurnedUpright(source, result);
    copy.hasConvertedColours = result.isMarkedSrgb;
    {
        // exiv2's XMP part is one for the whole process and knows no threads.
        static QMutex mutex;
        const QMutexLocker lock(&mutex);
        const MergeMetadata merge = loadModule(error);
        if (!merge)
            return error;
        merge(copy);
    }
    if (!copy.error.isEmpty() || copy.result.isEmpty())
        return copy.error;
    QByteArray made = completed(copy, result);
    if (!isSameImage(factsOf(made), result))
        return u"the image would not stay whole"_s;
    return replaceFile(resultPath, made);
}
