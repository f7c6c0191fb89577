#include "tools/MediaJson.h"

#include <QJsonArray>

using namespace Vantor;

namespace {

QJsonArray json(AVRational rational)
{
    return {rational.num, rational.den};
}

QJsonValue timestamp(qint64 value)
{
    return value == AV_NOPTS_VALUE ? QJsonValue() : QJsonValue(value);
}

QJsonObject json(const VideoStreamDescription& video)
{
    return {
        {QStringLiteral("index"), video.index},
        {QStringLiteral("mediaType"), video.mediaType},
        {QStringLiteral("codecId"), video.codecId},
        {QStringLiteral("timeBase"), json(video.timeBase)},
        {QStringLiteral("codecTag"), static_cast<qint64>(video.codecTag)},
        {QStringLiteral("pixelFormat"), video.pixelFormat},
        {QStringLiteral("width"), video.width},
        {QStringLiteral("height"), video.height},
        {QStringLiteral("frameRate"), json(video.frameRate)},
        {QStringLiteral("durationMs"), video.durationMs},
        {QStringLiteral("bitRate"), video.bitRate},
        {QStringLiteral("sampleAspectRatio"), json(video.sampleAspectRatio)},
        {QStringLiteral("rotation"), video.rotation},
        {QStringLiteral("isAttachedPicture"), video.isAttachedPicture},
    };
}

QJsonObject json(const AudioStreamDescription& audio)
{
    return {
        {QStringLiteral("index"), audio.index},
        {QStringLiteral("mediaType"), audio.mediaType},
        {QStringLiteral("codecId"), audio.codecId},
        {QStringLiteral("timeBase"), json(audio.timeBase)},
        {QStringLiteral("sampleFormat"), audio.sampleFormat},
        {QStringLiteral("channels"), audio.channels},
        {QStringLiteral("sampleRate"), audio.sampleRate},
        {QStringLiteral("durationMs"), audio.durationMs},
        {QStringLiteral("bitRate"), audio.bitRate},
        {QStringLiteral("channelLayout"), static_cast<qint64>(audio.channelLayout)},
        {QStringLiteral("codecTag"), static_cast<qint64>(audio.codecTag)},
    };
}

QJsonObject json(const SubtitleStreamDescription& subtitle)
{
    return {
        {QStringLiteral("index"), subtitle.index},
        {QStringLiteral("isTextSubtitle"), subtitle.isTextSubtitle},
    };
}

QJsonObject json(const StreamDescription& stream)
{
    return {
        {QStringLiteral("index"), stream.index},
        {QStringLiteral("mediaType"), stream.mediaType},
        {QStringLiteral("codecId"), stream.codecId},
        {QStringLiteral("timeBase"), json(stream.timeBase)},
    };
}

QJsonObject json(const VobChapter& chapter)
{
    return {
        {QStringLiteral("streamIndex"), chapter.streamIndex},
        {QStringLiteral("mediaType"), chapter.mediaType},
        {QStringLiteral("headPosInFile"), chapter.headPosInFile},
        {QStringLiteral("tailPosInFile"), chapter.tailPosInFile},
        {QStringLiteral("outPtsBase"), chapter.outPtsBase},
        {QStringLiteral("outDtsBase"), chapter.outDtsBase},
        {QStringLiteral("firstPts"), chapter.firstPts},
        {QStringLiteral("firstDts"), chapter.firstDts},
        {QStringLiteral("lastPts"), chapter.lastPts},
        {QStringLiteral("lastDts"), chapter.lastDts},
        {QStringLiteral("startedWithoutPts"), chapter.startedWithoutPts},
    };
}

template <typename Description>
QJsonArray json(const QList<QSharedPointer<Description>>& list)
{
    QJsonArray array;
    for (const auto& description : list)
        array.append(json(*description));
    return array;
}

} // namespace

QJsonObject mediaJson(const MediaDescription& media)
{
    return {
        {QStringLiteral("durationMs"), media.durationMs},
        {QStringLiteral("startTimeMs"), media.startTimeMs},
        {QStringLiteral("bitRate"), media.bitRate},
        {QStringLiteral("formatLongName"), media.formatLongName},
        {QStringLiteral("videoStreams"), json(media.videoStreams)},
        {QStringLiteral("audioStreams"), json(media.audioStreams)},
        {QStringLiteral("subtitleStreams"), json(media.subtitleStreams)},
        {QStringLiteral("streams"), json(media.streams)},
    };
}

QJsonObject chaptersJson(const VobChapterList& list)
{
    QJsonArray chapters;
    for (const VobChapter& chapter : list.chapters)
        chapters.append(json(chapter));
    return {
        {QStringLiteral("chapters"), chapters},
        {QStringLiteral("audioPtsFromDts"), list.audioPtsFromDts},
    };
}

QJsonObject packetJson(const AVPacket& packet)
{
    return {
        {QStringLiteral("streamIndex"), packet.stream_index},
        {QStringLiteral("pts"), timestamp(packet.pts)},
        {QStringLiteral("dts"), timestamp(packet.dts)},
        {QStringLiteral("duration"), qint64(packet.duration)},
        {QStringLiteral("pos"), qint64(packet.pos)},
        {QStringLiteral("size"), packet.size},
        {QStringLiteral("flags"), packet.flags},
    };
}
