#include "host/media/VideoFacts.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <algorithm>

namespace {

// The demuxers that read the length out of the container. The others look for the last time stamp that is
// there.
bool statesLength(const QString& container)
{
    static const QStringList kContainers{
        QStringLiteral("mov,mp4,m4a,3gp,3g2,mj2"),
        QStringLiteral("matroska,webm"),
        QStringLiteral("avi"),
        QStringLiteral("flv"),
        QStringLiteral("asf"),
        QStringLiteral("mxf"),
        QStringLiteral("rm"),
    };
    return kContainers.contains(container);
}

// -1 for a text that is no number; ffprobe writes numbers as texts.
qint64 milliseconds(const QJsonValue& seconds)
{
    bool isNumber = false;
    const double value = seconds.toString().toDouble(&isNumber);
    return isNumber ? qRound64(value * 1000) : -1;
}

// Matroska's tag: "00:01:02.345000000".
qint64 millisecondsOfTag(const QString& text)
{
    const QStringList parts = text.split(u':');
    if (parts.size() != 3)
        return -1;
    const double seconds = parts[0].toDouble() * 3600 + parts[1].toDouble() * 60 + parts[2].toDouble();
    return qRound64(seconds * 1000);
}

double ratio(const QString& text)
{
    const QStringList parts = text.split(u'/');
    const double divisor = parts.value(1).toDouble();
    return divisor > 0 ? parts[0].toDouble() / divisor : 0;
}

Tags tagsOf(const QJsonObject& object)
{
    Tags tags;
    const QJsonObject list = object[QLatin1String("tags")].toObject();
    for (auto tag = list.begin(); tag != list.end(); ++tag)
        tags.insert(tag.key(), tag->toString());
    return tags;
}

// The bits of one colour stand in the name where they are not 8: yuv420p10le, p010le, gray16be, rgb48le.
int bitsOf(const QString& pixelFormat)
{
    static const QRegularExpression kPlanar(
        QStringLiteral("(?:p|gray|ya|^p0|^p2|^p4|xyz)(9|1[0246])(?:msb)?(?:le|be)?$"));
    static const QRegularExpression kPacked(QStringLiteral("(?:rgb48|bgr48|rgba64|bgra64|ayuv64)"));
    static const QRegularExpression kTenBit(QStringLiteral("^(?:x2rgb10|x2bgr10|y210|v30x|xv30)"));
    static const QRegularExpression kFloat(QStringLiteral("f(?:16|32)(?:le|be)?$"));
    if (const auto match = kPlanar.match(pixelFormat); match.hasMatch())
        return match.captured(1).toInt();
    if (kTenBit.match(pixelFormat).hasMatch())
        return 10;
    const bool isDeep = kPacked.match(pixelFormat).hasMatch() || kFloat.match(pixelFormat).hasMatch();
    return isDeep ? 16 : 8;
}

bool hasAlphaPlane(const QString& pixelFormat)
{
    static const QRegularExpression kAlpha(
        QStringLiteral("^(?:yuva|rgba|bgra|argb|abgr|gbrap|ya8|ya16|ayuv|vuya|pal8)"));
    return kAlpha.match(pixelFormat).hasMatch();
}

StreamFacts::Type typeOf(const QString& name)
{
    static const QMap<QString, StreamFacts::Type> kTypes{
        {QStringLiteral("video"), StreamFacts::Video},
        {QStringLiteral("audio"), StreamFacts::Audio},
        {QStringLiteral("subtitle"), StreamFacts::Subtitle},
    };
    return kTypes.value(name, StreamFacts::Other);
}

void readImage(const QJsonObject& object, StreamFacts& stream)
{
    const QString transfer = object[QLatin1String("color_transfer")].toString();
    const QString pixelFormat = object[QLatin1String("pix_fmt")].toString();
    stream.isAttachedPicture =
        object[QLatin1String("disposition")].toObject()[QLatin1String("attached_pic")].toInt() != 0;
    stream.size = QSize(object[QLatin1String("width")].toInt(), object[QLatin1String("height")].toInt());
    stream.frameRate = ratio(object[QLatin1String("avg_frame_rate")].toString());
    stream.bits = bitsOf(pixelFormat);
    // VP8 and VP9 carry it beside the image.
    stream.hasAlpha =
        hasAlphaPlane(pixelFormat) || tagValue(stream.tags, QStringLiteral("alpha_mode")) == u'1';
    stream.isHdr = transfer == QLatin1String("smpte2084") || transfer == QLatin1String("arib-std-b67");
    for (const auto& data : object[QLatin1String("side_data_list")].toArray()) {
        if (const QJsonValue rotation = data.toObject()[QLatin1String("rotation")]; rotation.isDouble())
            stream.rotation = rotation.toInt();
    }
}

StreamFacts streamOf(const QJsonObject& object, qint64 videoStartMs)
{
    StreamFacts stream;
    stream.type = typeOf(object[QLatin1String("codec_type")].toString());
    stream.codec = object[QLatin1String("codec_name")].toString();
    stream.tags = tagsOf(object);
    stream.channels = object[QLatin1String("channels")].toInt();
    if (const qint64 length = milliseconds(object[QLatin1String("duration")]); length >= 0) {
        const qint64 start = milliseconds(object[QLatin1String("start_time")]);
        stream.endMs = qMax(start, videoStartMs) - videoStartMs + length;
    } else {
        stream.endMs = millisecondsOfTag(tagValue(stream.tags, QStringLiteral("duration")));
    }
    if (stream.type == StreamFacts::Video)
        readImage(object, stream);
    return stream;
}

// Subtitles, covers and data may go on behind the last image and the last sound; a result does not.
qint64 lengthOf(const VideoFacts& facts, qint64 containerMs)
{
    qint64 end = 0;
    for (const StreamFacts& stream : facts.streams) {
        if (!stream.isVideo() && stream.type != StreamFacts::Audio)
            continue;
        if (stream.endMs < 0)
            return containerMs;
        end = std::max(end, stream.endMs);
    }
    // Matroska's tags may be those of another cut.
    return end > 0 && containerMs > 0 ? std::min(end, containerMs) : containerMs;
}

} // namespace

const StreamFacts* VideoFacts::videoStream() const
{
    const auto found =
        std::find_if(streams.begin(), streams.end(), [](const StreamFacts& s) { return s.isVideo(); });
    return found != streams.end() ? &*found : nullptr;
}

QString tagValue(const Tags& tags, const QString& key)
{
    const QStringList keys = tags.keys();
    const auto found = std::find_if(keys.begin(), keys.end(), [&key](const QString& candidate) {
        return candidate.compare(key, Qt::CaseInsensitive) == 0;
    });
    return found != keys.end() ? tags.value(*found) : QString();
}

VideoFacts parseVideoFacts(const QByteArray& json, const QByteArray& log)
{
    VideoFacts facts;
    const QJsonObject root = QJsonDocument::fromJson(json).object();
    const QJsonObject format = root[QLatin1String("format")].toObject();
    facts.container = format[QLatin1String("format_name")].toString();
    if (facts.container.isEmpty()) {
        facts.error = QStringLiteral("ffprobe cannot read it");
        return facts;
    }
    const qint64 startMs = qMax<qint64>(0, milliseconds(format[QLatin1String("start_time")]));
    for (const auto& stream : root[QLatin1String("streams")].toArray())
        facts.streams.append(streamOf(stream.toObject(), startMs));
    facts.chapters = int(root[QLatin1String("chapters")].toArray().size());
    facts.tags = tagsOf(format);
    facts.lengthMs = lengthOf(facts, qMax<qint64>(0, milliseconds(format[QLatin1String("duration")])));
    facts.isLengthStated = facts.lengthMs > 0 && statesLength(facts.container) &&
                           !log.contains("Estimating duration from bitrate");
    return facts;
}
