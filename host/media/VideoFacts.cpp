#include "host/media/VideoFacts.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

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

Tags tagsOf(const QJsonValue& object)
{
    Tags tags;
    const QJsonObject list = object["tags"_L1].toObject();
    for (auto tag = list.begin(); tag != list.end(); ++tag)
        tags.insert(tag.key(), tag->toString());
    return tags;
}

struct PixelFormat
{
    int bits = 8;
    bool hasAlpha = false;
};

// ffprobe tells of its formats in the same answer.
PixelFormat pixelFormatIn(const QJsonObject& root, const QJsonValue& name)
{
    PixelFormat found;
    for (const auto& format : root["pixel_formats"_L1].toArray()) {
        if (format["name"_L1] != name)
            continue;
        found.hasAlpha = format["flags"_L1]["alpha"_L1].toInt() != 0;
        for (const auto& component : format["components"_L1].toArray())
            found.bits = qMax(found.bits, component["bit_depth"_L1].toInt());
    }
    return found;
}

StreamFacts::Type typeOf(const QString& name)
{
    const auto at = QStringList{u"video"_s, u"audio"_s, u"subtitle"_s}.indexOf(name);
    return at < 0 ? StreamFacts::Other : StreamFacts::Type(at);
}

StreamFacts streamOf(const QJsonObject& root, const QJsonValue& object, qint64 videoStartMs)
{
    StreamFacts stream;
    stream.type = typeOf(object["codec_type"_L1].toString());
    stream.tags = tagsOf(object);
    stream.channels = object["channels"_L1].toInt();
    if (const qint64 length = milliseconds(object["duration"_L1]); length >= 0) {
        const qint64 start = milliseconds(object["start_time"_L1]);
        stream.endMs = qMax(start, videoStartMs) - videoStartMs + length;
    } else {
        stream.endMs = millisecondsOfTag(tagValue(stream.tags, u"duration"_s));
    }
    const PixelFormat pixels = pixelFormatIn(root, object["pix_fmt"_L1]);
    const QString transfer = object["color_transfer"_L1].toString();
    stream.isAttachedPicture = object["disposition"_L1]["attached_pic"_L1].toInt() != 0;
    stream.size = QSize(object["width"_L1].toInt(), object["height"_L1].toInt());
    stream.frameRate = ratio(object["avg_frame_rate"_L1].toString());
    stream.bits = pixels.bits;
    // VP8 and VP9 carry it beside the image.
    stream.hasAlpha = pixels.hasAlpha || tagValue(stream.tags, u"alpha_mode"_s) == u'1';
    stream.isHdr = transfer == "smpte2084"_L1 || transfer == "arib-std-b67"_L1;
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
    const auto found = std::find_if(tags.keyBegin(), tags.keyEnd(), [&key](const QString& candidate) {
        return candidate.compare(key, Qt::CaseInsensitive) == 0;
    });
    return found != tags.keyEnd() ? *found.base() : QString();
}

ToolCall videoProbe(const QString& path, bool isImage)
{
    static const QStringList kQuestion{u"-print_format"_s, u"json"_s,           u"-show_format"_s,
                                       u"-show_streams"_s, u"-show_chapters"_s, u"-show_pixel_formats"_s};
    const QString absolute = QFileInfo(path).absoluteFilePath();
    const QString address = isImage ? u"pipe:0"_s : ToolCall::fileAddress(absolute);
    ToolCall call = ToolCall::ffprobe(kQuestion + ToolCall::input(address), isImage ? absolute : QString());
    call.timeLimit = std::chrono::seconds(30);
    return call;
}

VideoFacts videoFactsIn(const ToolResult& answer)
{
    VideoFacts facts;
    const QJsonObject root = QJsonDocument::fromJson(answer.output).object();
    const QJsonObject format = root["format"_L1].toObject();
    facts.container = format["format_name"_L1].toString();
    if (!answer.isSuccess() || facts.container.isEmpty()) {
        facts.error = answer.isSuccess() ? u"ffprobe cannot read it"_s : answer.reason();
        return facts;
    }
    const qint64 startMs = qMax<qint64>(0, milliseconds(format["start_time"_L1]));
    for (const auto& stream : root["streams"_L1].toArray())
        facts.streams.append(streamOf(root, stream, startMs));
    facts.chapters = int(root["chapters"_L1].toArray().size());
    facts.tags = tagsOf(format);
    facts.lengthMs = lengthOf(facts, qMax<qint64>(0, milliseconds(format["duration"_L1])));
    facts.isLengthStated = facts.lengthMs > 0 && statesLength(facts.container) &&
                           !answer.log.contains("Estimating duration from bitrate");
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
