#include "hostlibs/VxMediaInfo.h"

#include <QFileInfo>

#include <algorithm>
#include <limits>

#include "demux/DurationScan.h"
#include "demux/FFmpeg.h"
#include "demux/Saturate.h"
#include "hostlibs/AvBridge.h"

namespace Vantor {

namespace {

QSharedPointer<AVFormatContext> openForInfo(const QString& path)
{
    ffmpegLogToPLog();
    AVFormatContext* raw = nullptr;
    if (avformat_open_input(&raw, path.toUtf8().constData(), nullptr, nullptr) < 0)
        return {};
    auto context = makeAVFormatContextPtr(raw);
    return avformat_find_stream_info(raw, nullptr) < 0 ? nullptr : context;
}

// Matroska keeps its statistics in tags, "BPS" or "BPS-" and a language.
qint64 bitrateTag(const AVStream& stream)
{
    const AVDictionaryEntry* tag = av_dict_get(stream.metadata, "BPS", nullptr, AV_DICT_IGNORE_SUFFIX);
    return tag ? QByteArray(tag->value).toLongLong() : 0;
}

qint32 bitrateOf(const AVStream& stream)
{
    const qint64 known = stream.codecpar->bit_rate > 0 ? stream.codecpar->bit_rate : bitrateTag(stream);
    return static_cast<qint32>(std::clamp<qint64>(known, 0, std::numeric_limits<qint32>::max()));
}

// Of a container that says none, by its packets. Where there is no time for all of them the rest counts by
// its bytes.
qint64 scannedDurationMs(AVFormatContext& context, qint64 size)
{
    const PacketSpans spans = scanPacketSpans(context);
    const auto& lengths = spans.lengthsMs;
    const qint64 longest = lengths.isEmpty() ? 0 : *std::max_element(lengths.begin(), lengths.end());
    const qint64 read = context.pb ? avio_tell(context.pb) : 0;
    if (!spans.timedOut || read < 1)
        return longest;
    return saturate<qint64>(static_cast<double>(longest) * static_cast<double>(size) /
                            static_cast<double>(read));
}

} // namespace

QSharedPointer<MediaInfoV3> getMediaInfo(const QString& path, int, bool)
{
    auto info = QSharedPointer<MediaInfoV3>::create();
    const auto context = openForInfo(path);
    if (!context)
        return info;
    info->size = QFileInfo(path).size();
    info->duration = context->duration > 0 ? context->duration / 1000
                                           : std::max<qint64>(scannedDurationMs(*context, info->size), 0);
    for (unsigned i = 0; i < context->nb_streams; ++i) {
        const AVStream& stream = *context->streams[i];
        if (stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
            auto audio = QSharedPointer<MediaInfoAudioStream>::create();
            audio->bitrate = bitrateOf(stream);
            info->audioStreams.append(audio);
        }
    }
    return info;
}

} // namespace Vantor
