#include "host/media/MediaFacts.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

#include "host/media/Readers.h"

using namespace Qt::StringLiterals;

namespace {

struct FormatRow
{
    MediaFormat format;
    MediaKind kind;
    QString (*read)(FileWindow&, MediaFacts&) = nullptr;
    const char* linkSuffix = "media"; // one that nothing knows makes FFmpeg look into the file
    const char* forcingSuffix = "";   // under which the module reads this format and no other
};

using enum MediaFormat;

constexpr FormatRow kFormats[] = {
    {None, MediaKind::Unknown},
    {Jpeg, MediaKind::Image, readJpeg},
    {Png, MediaKind::Image, readPng},
    {WebP, MediaKind::Image, readWebp},
    {Gif, MediaKind::Image, readGif, "gif"},
    {Bmp, MediaKind::Image, readBmp},
    {Tiff, MediaKind::Image, readTiff},
    {Pnm, MediaKind::Image},
    {Targa, MediaKind::Image},
    {OtherImage, MediaKind::Image},
    {Mp4, MediaKind::Video, readMp4, "mp4"},
    {Matroska, MediaKind::Video, readMatroska, "mkv"},
    {Avi, MediaKind::Video, readAvi, "avi"},
    {Flv, MediaKind::Video, nullptr, "flv", "flv"},
    {TransportStream, MediaKind::Video, nullptr, "ts", "ts"},
    {ProgramStream, MediaKind::Video, nullptr, "mpg", "vob"},
    {Asf, MediaKind::Video, readAsf, "wmv"},
    {Ogg, MediaKind::Video, nullptr, "ogv"},
    {RawStream, MediaKind::Video},
    {OtherVideo, MediaKind::Video},
    {Sound, MediaKind::Sound},
};

const FormatRow& rowOf(MediaFormat format)
{
    return *std::ranges::find(kFormats, format, &FormatRow::format);
}

} // namespace

MediaFacts inspectMedia(const QString& path)
{
    QFile file(path);
    // Asked before opening: that of a pipe waits for a writer.
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return {};
    return inspectMedia(file);
}

MediaFacts inspectMedia(QIODevice& file)
{
    FileWindow window(file);
    MediaFacts facts;
    recognise(window, facts);
    const FormatRow& row = rowOf(facts.format);
    facts.kind = row.kind;
    if (row.read)
        facts.damage = row.read(window, facts);
    return facts;
}

QString trueSuffix(const MediaFacts& facts, const QString& suffix)
{
    const bool isMistaken = std::ranges::any_of(kFormats, [&](const FormatRow& row) {
        return suffix.compare(QLatin1String(row.forcingSuffix), Qt::CaseInsensitive) == 0 &&
               *row.forcingSuffix && facts.format != row.format;
    });
    return isMistaken ? QString::fromLatin1(rowOf(facts.format).linkSuffix) : QString();
}
