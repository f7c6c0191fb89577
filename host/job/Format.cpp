#include "host/job/Format.h"

#include <QFile>

#include <algorithm>

#include "compressor/FinishCode.h"

namespace Formats {

namespace {

constexpr char kImageCorrupt[] =
    "%1 is damaged, or not an image that can become a JPEG: give a JPEG, PNG or BMP file";
constexpr char kNoFaultlessResult[] = "the encoder %2 could not make a whole result of %1";

constexpr ExitCode kCjpegCodes[] = {
    {FinishCode::kCorruptInput, kImageCorrupt},
    {FinishCode::kNoOutput, kNoFaultlessResult},
};
constexpr ExitCode kPngquantCodes[] = {
    {FinishCode::kCorruptInput, "%1 is damaged, or not a PNG image: give a PNG file"},
    {FinishCode::kNoOutput, kNoFaultlessResult},
};
// Later versions of ffmpeg end with the low byte of their own error number.
constexpr ExitCode kFfmpegCodes[] = {
    {69, "the encoder %2 stopped: too much of %1 is damaged"},
    {183, "the encoder %2 found invalid data in %1: is it whole?"},
    {228, "the encoder %2 found the disk full"},
    {234, "the encoder %2 refused %1: a value or the output's container does not fit it"},
    {254, "the encoder %2 found no such file: was %1 moved?"},
};

constexpr Encoder kCjpeg = {
    "cJpeg",    "-version", "^(.*\\bversion [^\\s(]+)", "cjpeg", "install mozjpeg's cjpeg under this name",
    kCjpegCodes};
constexpr Encoder kPngquant = {
    "pngquant", "--version", "^(\\d\\S*)", "pngquant", "install the package pngquant", kPngquantCodes};
constexpr Encoder kFfmpeg = {
    "ffmpeg", "-version", "^ffmpeg version (\\S+)", "ffmpeg", "install the package ffmpeg", kFfmpegCodes};
constexpr const Encoder* kEncoders[] = {&kCjpeg, &kPngquant, &kFfmpeg};

constexpr const char* kJpegSuffixes[] = {"jpg", "jpeg"};
constexpr const char* kPngSuffixes[] = {"png"};
constexpr const char* kWebpSuffixes[] = {"webp"};
// The containers that the module means for video, all of which hold H.264.
constexpr const char* kVideoSuffixes[] = {"mp4", "mov", "mkv", "m4v", "avi", "flv", "f4v", "m2ts"};

// What the encoders read, as measured with the ones that the module runs.
constexpr MediaFormat kCjpegReads[] = {MediaFormat::Jpeg, MediaFormat::Png, MediaFormat::Bmp,
                                       MediaFormat::Pnm, MediaFormat::Targa};
constexpr MediaFormat kPngquantReads[] = {MediaFormat::Png};

constexpr Format kFormats[] = {
    {Format::Jpeg,
     "JPEG",
     &kCjpeg,
     kJpegSuffixes,
     "\xFF\xD8\xFF",
     {0, 100, 75},
     kCjpegReads,
     "only JPEG, PNG, BMP, PNM and Targa images can become JPEG",
     false,
     "",
     "jpg"},
    {Format::Png,
     "PNG",
     &kPngquant,
     kPngSuffixes,
     "\x89PNG",
     {0, 100, 80},
     kPngquantReads,
     "only PNG images can become a smaller PNG",
     false,
     "",
     "png"},
    {Format::WebP,
     "WebP",
     &kFfmpeg,
     kWebpSuffixes,
     "RIFF    WEBP",
     {0, 100, 75},
     {},
     "",
     true,
     "libwebp",
     "png"},
    {Format::Video, "video", &kFfmpeg, kVideoSuffixes, "", {51, 0, 28}, {}, "", true, "libx264", "mkv"},
};
constexpr const Format* kVideo = &kFormats[3];

// ffmpeg writes H.264 under these names too, and then they are no images any more; or refuses it.
constexpr const char* kNeverContainers[] = {"webm", "bmp",  "tif",  "tiff", "gif", "heic",
                                            "heif", "avif", "jp2",  "ico",  "svg", "pdf",
                                            "psd",  "apng", "jfif", "jpe",  "tga", "ppm"};

constexpr const char* kOtherImages[] = {"bmp", "tif",  "tiff", "gif", "jfif",
                                        "jpe", "apng", "ppm",  "pgm", "tga"};
constexpr const char* kOtherVideos[] = {"webm", "mpg", "mpeg", "vob", "ts",  "mts", "wmv",  "asf",
                                        "3gp",  "3g2", "ogv",  "m2v", "mxf", "dv",  "divx", "rmvb"};

bool isAmong(const QString& suffix, std::span<const char* const> names)
{
    for (const char* name : names) {
        if (suffix.compare(QLatin1String(name), Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

} // namespace

std::span<const Format> all()
{
    return kFormats;
}

std::span<const Encoder* const> encoders()
{
    return kEncoders;
}

const Format* ofSuffix(const QString& suffix, bool anyContainer)
{
    for (const Format& format : kFormats) {
        if (isAmong(suffix, format.suffixes))
            return &format;
    }
    return anyContainer && !suffix.isEmpty() && !isAmong(suffix, kNeverContainers) ? kVideo : nullptr;
}

QStringList suffixes(MediaKind kind)
{
    QStringList suffixes;
    for (const Format& format : kFormats) {
        for (const char* suffix : format.suffixes) {
            if (format.isVideo() == (kind == MediaKind::Video))
                suffixes.append(QLatin1String(suffix));
        }
    }
    return suffixes;
}

MediaKind kindOfName(const QString& suffix)
{
    if (const Format* const format = ofSuffix(suffix))
        return format->isVideo() ? MediaKind::Video : MediaKind::Image;
    if (isAmong(suffix, kOtherImages))
        return MediaKind::Image;
    return isAmong(suffix, kOtherVideos) ? MediaKind::Video : MediaKind::Unknown;
}

bool looksLike(const Format& format, const QString& path)
{
    QFile file(path);
    if (format.isVideo() || !file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return true;
    const QByteArray magic = format.magic;
    const QByteArray head = file.read(magic.size());
    return head.size() == magic.size() &&
           std::equal(head.begin(), head.end(), magic.begin(),
                      [](char byte, char wanted) { return wanted == ' ' || byte == wanted; });
}

} // namespace Formats
