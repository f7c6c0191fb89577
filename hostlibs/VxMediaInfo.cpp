#include "hostlibs/VxMediaInfo.h"

#include <QFileInfo>

#include <algorithm>
#include <limits>

#include "demux/FFmpeg.h"
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

} // namespace

QSharedPointer<MediaInfoV3> getMediaInfo(const QString& path, int, bool)
{
    auto info = QSharedPointer<MediaInfoV3>::create();
    const auto context = openForInfo(path);
    if (!context)
        return info;
    info->duration = std::max<qint64>(context->duration, 0) / 1000;
    info->size = QFileInfo(path).size();
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
