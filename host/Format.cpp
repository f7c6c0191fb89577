#include "host/Format.h"

#include <QFile>

namespace Formats {

namespace {

const Format kJpeg = {Format::Jpeg, "JPEG", "cJpeg", 100, 75, true};
const Format kPng = {Format::Png, "PNG", "pngquant", 100, 80, true};
const Format kWebP = {Format::WebP, "WebP", "ffmpeg", 100, 75, true};
const Format kFilm = {Format::Film, "video", "ffmpeg", 51, 28, false};

struct SuffixRow
{
    const char* suffix;
    const Format* format;
};

// The containers are those that the module means for video, all of which hold H.264.
constexpr SuffixRow kOutputs[] = {
    {"jpg", &kJpeg}, {"jpeg", &kJpeg}, {"png", &kPng},  {"webp", &kWebP}, {"mp4", &kFilm}, {"mov", &kFilm},
    {"mkv", &kFilm}, {"m4v", &kFilm},  {"avi", &kFilm}, {"flv", &kFilm},  {"f4v", &kFilm}, {"m2ts", &kFilm},
};

// ffmpeg writes H.264 under these names too, and then they are no pictures any more; or refuses it.
constexpr const char* kNeverContainers[] = {"webm", "bmp",  "tif",  "tiff", "gif", "heic",
                                            "heif", "avif", "jp2",  "ico",  "svg", "pdf",
                                            "psd",  "apng", "jfif", "jpe",  "tga", "ppm"};

constexpr const char* kOtherPictures[] = {"bmp", "tif",  "tiff", "gif", "jfif",
                                          "jpe", "apng", "ppm",  "pgm", "tga"};
constexpr const char* kOtherFilms[] = {"webm", "mpg", "mpeg", "vob", "ts",  "mts", "wmv",  "asf",
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

QStringList suffixesOf(bool films)
{
    QStringList suffixes;
    for (const SuffixRow& row : kOutputs) {
        if (row.format->isFilm() == films)
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
    return anyContainer && !suffix.isEmpty() && !isAmong(suffix, kNeverContainers) ? &kFilm : nullptr;
}

const QStringList& pictureSuffixes()
{
    static const QStringList kSuffixes = suffixesOf(false);
    return kSuffixes;
}

const QStringList& filmSuffixes()
{
    static const QStringList kSuffixes = suffixesOf(true);
    return kSuffixes;
}

bool isPictureName(const QString& suffix)
{
    const Format* const format = ofSuffix(suffix);
    return (format && !format->isFilm()) || isAmong(suffix, kOtherPictures);
}

bool isFilmName(const QString& suffix)
{
    const Format* const format = ofSuffix(suffix);
    return (format && format->isFilm()) || isAmong(suffix, kOtherFilms);
}

bool looksLike(const Format& format, const QString& path)
{
    QFile file(path);
    if (format.isFilm() || !file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
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
    case Format::Film:
        break;
    }
    return true;
}

} // namespace Formats
