#include "compressor/Compressor.h"

#include <QFileInfo>

#include "image/JpegCompressor.h"
#include "image/PngCompressor.h"
#include "image/WebpCompressor.h"
#include "video/VideoCompressor.h"

using namespace Qt::StringLiterals;

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
    {"jpg"_L1, makeTask<JpegCompressor>},
    {"jpeg"_L1, makeTask<JpegCompressor>},
    {"png"_L1, makeTask<PngCompressor>},
    {"webp"_L1, makeTask<WebpCompressor>},
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
    return {u"mp4"_s, u"mov"_s, u"mkv"_s, u"m4v"_s, u"avi"_s, u"flv"_s, u"f4v"_s, u"m2ts"_s};
}

QSharedPointer<ICompressTask> Compressor::createTask(const QVariantMap& params)
{
    const QString outputPath = params.value(u"outputPath"_s).toString();
    if (outputPath.isEmpty())
        return {};
    const TaskMaker make = taskMakerFor(QFileInfo(outputPath).suffix().toLower());
    return QSharedPointer<ICompressTask>(make(params));
}
