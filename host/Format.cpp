#include "host/Format.h"

#include <QFileInfo>

namespace {

constexpr char kNoJpegSource[] =
    "is damaged, or no image that a JPEG can be made of: give a JPEG, PNG or BMP file";
constexpr char kNoPngSource[] = "is damaged, or no PNG image, and only a PNG can be made a smaller PNG";

const Format kImages[] = {
    {"jpg", "JPEG", "cJpeg", 100, 75, kNoJpegSource},
    {"jpeg", "JPEG", "cJpeg", 100, 75, kNoJpegSource},
    {"png", "PNG", "pngquant", 100, 80, kNoPngSource},
    {"webp", "WebP", "ffmpeg", 100, 75, nullptr},
};

const Format kVideo = {nullptr, "video", "ffmpeg", 51, 28, nullptr};

} // namespace

const Format& formatOf(const QString& outputPath)
{
    const QString suffix = QFileInfo(outputPath).suffix().toLower();
    for (const Format& format : kImages) {
        if (suffix == QLatin1String(format.suffix))
            return format;
    }
    return kVideo;
}
