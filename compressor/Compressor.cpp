#include "compressor/Compressor.h"

#include <QFileInfo>

#include "image/JpegCompressor.h"
#include "image/PngCompressor.h"
#include "image/WebpCompressor.h"
#include "video/VideoCompressor.h"

namespace {

using TaskMaker = ICompressTask* (*)(const QVariantMap&);

template <class Task>
ICompressTask* makeTask(const QVariantMap& params)
{
    return new Task(params);
}

const struct
{
    QLatin1String suffix;
    TaskMaker make;
} kImageTasks[] = {
    {QLatin1String("jpg"), makeTask<JpegCompressor>},
    {QLatin1String("jpeg"), makeTask<JpegCompressor>},
    {QLatin1String("png"), makeTask<PngCompressor>},
    {QLatin1String("webp"), makeTask<WebpCompressor>},
};

TaskMaker taskMakerFor(const QString& suffix)
{
    for (const auto& row : kImageTasks) {
        if (suffix == row.suffix)
            return row.make;
    }
    return makeTask<VideoCompressor>;
}

} // namespace

QVariantList Compressor::supportedVideoFormats() const
{
    return {QStringLiteral("mp4"), QStringLiteral("mov"), QStringLiteral("mkv"), QStringLiteral("m4v"),
            QStringLiteral("avi"), QStringLiteral("flv"), QStringLiteral("f4v"), QStringLiteral("m2ts")};
}

QSharedPointer<ICompressTask> Compressor::createTask(const QVariantMap& params)
{
    const QString outputPath = params.value(QStringLiteral("outputPath")).toString();
    if (outputPath.isEmpty())
        return {};
    const TaskMaker make = taskMakerFor(QFileInfo(outputPath).suffix().toLower());
    return QSharedPointer<ICompressTask>(make(params));
}
