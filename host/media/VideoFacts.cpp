#include "host/media/VideoFacts.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// The demuxers that read the length out of the container. The others look for the last time stamp that is
// there.
bool statesLength(const QString& container)
{
    static const QStringList kContainers{
        u"mov,mp4,m4a,3gp,3g2,mj2"_s, u"matroska,webm"_s, u"avi"_s, u"flv"_s, u"asf"_s, u"mxf"_s, u"rm"_s,
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
    const QJsonObject list = object["tags"_L1].toObject();
    for (auto tag = list.begin(); tag != list.end(); ++tag)
        tags.insert(tag.key(), tag->toString());
    return tags;
}

// The bits of one colour stand in the name where they are not 8: yuv420p10le, p010le, gray16be, rgb48le.
int bitsOf(const QString& pixelFormat)
{
    static const QRegularExpression kPlanar(u"(?:p|gray|ya|^p0|^p2|^p4|xyz)(9|1[0246])(?:msb)?(?:le|be)?$"_s);
    static const QRegularExpression kPacked(u"(?:rgb48|bgr48|rgba64|bgra64|ayuv64)"_s);
    static const QRegularExpression kTenBit(u"^(?:x2rgb10|x2bgr10|y210|v30x|xv30)"_s);
    static const QRegularExpression kFloat(u"f(?:16|32)(?:le|be)?$"_s);
    if (const auto match = kPlanar.match(pixelFormat); match.hasMatch())
        return match.captured(1).toInt();
    if (kTenBit.match(pixelFormat).hasMatch())
        return 10;
    const bool isDeep = kPacked.match(pixelFormat).hasMatch() || kFloat.match(pixelFormat).hasMatch();
    return isDeep ? 16 : 8;
}

bool hasAlphaPlane(const QString& pixelFormat)
{
    static const QRegularExpression kAlpha(u"^(?:yuva|rgba|bgra|argb|abgr|gbrap|ya8|ya16|ayuv|vuya|pal8)"_s);
    return kAlpha.match(pixelFormat).hasMatch();
}

StreamFacts::Type typeOf(const QString& name)
{
    static const QMap<QString, StreamFacts::Type> kTypes{
        {u"video"_s, StreamFacts::Video},
        {u"audio"_s, StreamFacts::Audio},
        {u"subtitle"_s, StreamFacts::Subtitle},
    };
    return kTypes.value(name, StreamFacts::Other);
}

void readImage(const QJsonObject& object, StreamFacts& stream)
{
    const QString transfer = object["color_transfer"_L1].toString();
    const QString pixelFormat = object["pix_fmt"_L1].toString();
    stream.isAttachedPicture = object["disposition"_L1].toObject()["attached_pic"_L1].toInt() != 0;
    stream.size = QSize(object["width"_L1].toInt(), object["height"_L1].toInt());
    stream.frameRate = ratio(object["avg_frame_rate"_L1].toString());
    stream.bits = bitsOf(pixelFormat);
    // VP8 and VP9 carry it beside the image.
    stream.hasAlpha = hasAlphaPlane(pixelFormat) || tagValue(stream.tags, u"alpha_mode"_s) == u'1';
    stream.isHdr = transfer == "smpte2084"_L1 || transfer == "arib-std-b67"_L1;
    for (const auto& data : object["side_data_list"_L1].toArray()) {
        if (const QJsonValue rotation = data.toObject()["rotation"_L1]; rotation.isDouble())
            stream.rotation = rotation.toInt();
    }
}

StreamFacts streamOf(const QJsonObject& object, qint64 videoStartMs)
{
    StreamFacts stream;
    stream.type = typeOf(object["codec_type"_L1].toString());
    stream.codec = object["codec_name"_L1].toString();
    stream.tags = tagsOf(object);
    stream.channels = object["channels"_L1].toInt();
    if (const qint64 length = milliseconds(object["duration"_L1]); length >= 0) {
        const qint64 start = milliseconds(object["start_time"_L1]);
        stream.endMs = qMax(start, videoStartMs) - videoStartMs + length;
    } else {
        stream.endMs = millisecondsOfTag(tagValue(stream.tags, u"duration"_s));
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

StreamFacts imageOf(const VideoFacts& facts)
{
    const StreamFacts* const stream = facts.videoStream();
    return stream ? *stream : StreamFacts{};
}

// Stereo at least: sound that is lost altogether is a track that is lost.
int mostChannels(const VideoFacts& facts)
{
    int most = 2;
    for (const StreamFacts& stream : facts.streams)
        most = std::max(most, stream.channels);
    return most;
}

int countOf(const VideoFacts& facts, StreamFacts::Type type)
{
    return int(std::ranges::count(facts.streams, type, &StreamFacts::type));
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
    const QJsonObject format = root["format"_L1].toObject();
    facts.container = format["format_name"_L1].toString();
    if (facts.container.isEmpty()) {
        facts.error = u"ffprobe cannot read it"_s;
        return facts;
    }
    const qint64 startMs = qMax<qint64>(0, milliseconds(format["start_time"_L1]));
    for (const auto& stream : root["streams"_L1].toArray())
        facts.streams.append(streamOf(stream.toObject(), startMs));
    facts.chapters = int(root["chapters"_L1].toArray().size());
    facts.tags = tagsOf(format);
    facts.lengthMs = lengthOf(facts, qMax<qint64>(0, milliseconds(format["duration"_L1])));
    facts.isLengthStated = facts.lengthMs > 0 && statesLength(facts.container) &&
                           !log.contains("Estimating duration from bitrate");
    return facts;
}

QList<Warning> videoLosses(const VideoFacts& source, const VideoFacts& result)
{
    // Amounts that can become less: %1 of the source, %2 of the result.
    static const struct
    {
        const char* id;
        const char* text;
        int (*amountIn)(const VideoFacts&);
    } kLosses[] = {
        {"hdr", "the high dynamic range is lost, colours may look pale",
         [](const auto& facts) { return int(imageOf(facts).isHdr); }},
        {"bit-depth", "the colours have %2 bits instead of %1",
         [](const auto& facts) { return imageOf(facts).bits; }},
        {"alpha", "the transparency is lost", [](const auto& facts) { return int(imageOf(facts).hasAlpha); }},
        {"audio-channels", "the sound has %2 channels instead of %1", mostChannels},
        {"audio-tracks", "sound tracks are lost: %2 of %1 are left",
         [](const auto& facts) { return countOf(facts, StreamFacts::Audio); }},
        {"subtitles", "subtitles are lost: %2 of %1 are left",
         [](const auto& facts) { return countOf(facts, StreamFacts::Subtitle); }},
        {"cover", "cover images are lost: %2 of %1 are left",
         [](const auto& facts) {
             return int(std::ranges::count(facts.streams, true, &StreamFacts::isAttachedPicture));
         }},
    };
    QList<Warning> losses;
    for (const auto& row : kLosses) {
        const int before = row.amountIn(source);
        const int after = row.amountIn(result);
        if (after < before)
            losses.append({QLatin1String(row.id), QString::fromLatin1(row.text)
                                                      .replace("%1"_L1, QString::number(before))
                                                      .replace("%2"_L1, QString::number(after))});
    }
    return losses;
}
