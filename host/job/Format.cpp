#include "host/job/Format.h"

#include <QFile>

namespace Formats {

namespace {

const Format kJpeg = {Format::Jpeg, "JPEG", "cJpeg", 100, 75, true};
const Format kPng = {Format::Png, "PNG", "pngquant", 100, 80, true};
const Format kWebP = {Format::WebP, "WebP", "ffmpeg", 100, 75, true};
const Format kVideo = {Format::Video, "video", "ffmpeg", 51, 28, false};

struct SuffixRow
{
    const char* suffix;
    const Format* format;
};

// The containers are those that the module means for video, all of which hold H.264.
constexpr SuffixRow kOutputs[] = {
    {"jpg", &kJpeg},  {"jpeg", &kJpeg}, {"png", &kPng},   {"webp", &kWebP},
    {"mp4", &kVideo}, {"mov", &kVideo}, {"mkv", &kVideo}, {"m4v", &kVideo},
    {"avi", &kVideo}, {"flv", &kVideo}, {"f4v", &kVideo}, {"m2ts", &kVideo},
};

// ffmpeg writes H.264 under these names too, and then they are no images any more; or refuses it.
constexpr const char* kNeverContainers[] = {"webm", "bmp",  "tif",  "tiff", "gif", "heic",
                                            "heif", "avif", "jp2",  "ico",  "svg", "pdf",
                                            "psd",  "apng", "jfif", "jpe",  "tga", "ppm"};

constexpr const char* kOtherImages[] = {"bmp", "tif",  "tiff", "gif", "jfif",
                                        "jpe", "apng", "ppm",  "pgm", "tga"};
constexpr const char* kOtherVideos[] = {"webm", "mpg", "mpeg", "vob", "ts",  "mts", "wmv",  "asf",
                                        "3gp",  "3g2", "ogv",  "m2v", "mxf", "dv",  "divx", "rmvb"};

template <size_t N>
bool isAmong(const QString& suffix, const char* const (&names)[N])
{
    for (const char* name : names) {
        if (suffix.compare(QLatin1String(name), Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

QStringList suffixesOf(bool videos)
{
    QStringList suffixes;
    for (const SuffixRow& row : kOutputs) {
        if (row.format->isVideo() == videos)
            suffixes.append(QLatin1String(row.suffix));
    }
    return suffixes;
}

} // namespace

const Format* ofSuffix(const QString& suffix, bool anyContainer)
{
    for (const SuffixRow& row : kOutputs) {
        if (suffix.compare(QLatin1String(row.suffix), Qt::CaseInsensitive) == 0)
            return row.format;
    }
    return anyContainer && !suffix.isEmpty() && !isAmong(suffix, kNeverContainers) ? &kVideo : nullptr;
}

const QStringList& imageSuffixes()
{
    static const QStringList kSuffixes = suffixesOf(false);
    return kSuffixes;
}

const QStringList& videoSuffixes()
{
    static const QStringList kSuffixes = suffixesOf(true);
    return kSuffixes;
}

bool isImageName(const QString& suffix)
{
    const Format* const format = ofSuffix(suffix);
    return (format && !format->isVideo()) || isAmong(suffix, kOtherImages);
}

bool isVideoName(const QString& suffix)
{
    const Format* const format = ofSuffix(suffix);
    return (format && format->isVideo()) || isAmong(suffix, kOtherVideos);
}

bool looksLike(const Format& format, const QString& path)
{
    QFile file(path);
    if (format.isVideo() || !file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return true;
    constexpr qint64 kHeadBytes = 12;
    const QByteArray head = file.read(kHeadBytes);
    switch (format.kind) {
    case Format::Jpeg:
        return head.startsWith("\xFF\xD8\xFF");
    case Format::Png:
        return head.startsWith("\x89PNG");
    case Format::WebP:
        return head.startsWith("RIFF") && head.endsWith("WEBP");
    case Format::Video:
        break;
    }
    return true;
}

} // namespace Formats
