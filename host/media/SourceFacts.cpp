#include "host/media/SourceFacts.h"

#include <QFile>
#include <QFileInfo>

#include "host/media/FileWindow.h"
#include "host/media/ImageReaders.h"
#include "host/media/Signature.h"
#include "host/media/VideoDamage.h"

using namespace Qt::StringLiterals;

namespace {

using Reader = ImageReading (*)(FileWindow&);

Reader readerOf(MediaFormat format)
{
    switch (format) {
    case MediaFormat::Jpeg:
        return readJpeg;
    case MediaFormat::Png:
        return readPng;
    case MediaFormat::WebP:
        return readWebp;
    case MediaFormat::Gif:
        return readGif;
    case MediaFormat::Bmp:
        return readBmp;
    case MediaFormat::Tiff:
        return readTiff;
    default:
        return nullptr;
    }
}

} // namespace

SourceFacts inspectSource(const QString& path)
{
    SourceFacts facts;
    // Asked before opening: that of a pipe waits for a writer.
    if (!QFileInfo(path).isFile()) {
        facts.kind = MediaKind::NotRegular;
        return facts;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        facts.kind = MediaKind::Unreadable;
        facts.problem = file.errorString();
        return facts;
    }
    return inspectSource(file);
}

SourceFacts inspectSource(QIODevice& file)
{
    FileWindow window(file);
    const Signature signature = recognise(window);
    SourceFacts facts;
    facts.kind = signature.kind;
    facts.format = signature.format;
    facts.name = QLatin1String(signature.name);
    if (const Reader read = readerOf(facts.format)) {
        const ImageReading reading = read(window);
        facts.image = reading.facts;
        facts.damage = reading.damage;
    } else if (facts.kind == MediaKind::Video) {
        facts.damage = videoDamage(window, facts.format);
    }
    return facts;
}

QString trueSuffix(const SourceFacts& facts, const QString& suffix)
{
    // The suffixes that the module goes by, and the only container that it then reads.
    static const struct
    {
        QLatin1String suffix;
        MediaFormat format;
    } kForced[] = {
        {"ts"_L1, MediaFormat::TransportStream},
        {"flv"_L1, MediaFormat::Flv},
        {"vob"_L1, MediaFormat::ProgramStream},
    };
    static const QMap<MediaFormat, QString> kSuffixes{
        {MediaFormat::Mp4, u"mp4"_s}, {MediaFormat::Matroska, u"mkv"_s},
        {MediaFormat::Avi, u"avi"_s}, {MediaFormat::Flv, u"flv"_s},
        {MediaFormat::Asf, u"wmv"_s}, {MediaFormat::TransportStream, u"ts"_s},
        {MediaFormat::Ogg, u"ogv"_s}, {MediaFormat::ProgramStream, u"mpg"_s},
        {MediaFormat::Gif, u"gif"_s},
    };
    for (const auto& row : kForced) {
        // A suffix that nothing knows makes FFmpeg look into the file.
        if (suffix.compare(row.suffix, Qt::CaseInsensitive) == 0 && facts.format != row.format)
            return kSuffixes.value(facts.format, u"media"_s);
    }
    return {};
}
