#include "tools/MediaJson.h"

#include <QJsonArray>

using namespace Qt::StringLiterals;

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
        {u"index"_s, video.index},
        {u"mediaType"_s, video.mediaType},
        {u"codecId"_s, video.codecId},
        {u"timeBase"_s, json(video.timeBase)},
        {u"codecTag"_s, static_cast<qint64>(video.codecTag)},
        {u"pixelFormat"_s, video.pixelFormat},
        {u"width"_s, video.width},
        {u"height"_s, video.height},
        {u"frameRate"_s, json(video.frameRate)},
        {u"durationMs"_s, video.durationMs},
        {u"bitRate"_s, video.bitRate},
        {u"sampleAspectRatio"_s, json(video.sampleAspectRatio)},
        {u"rotation"_s, video.rotation},
        {u"isAttachedPicture"_s, video.isAttachedPicture},
    };
}

QJsonObject json(const AudioStreamDescription& audio)
{
    return {
        {u"index"_s, audio.index},
        {u"mediaType"_s, audio.mediaType},
        {u"codecId"_s, audio.codecId},
        {u"timeBase"_s, json(audio.timeBase)},
        {u"sampleFormat"_s, audio.sampleFormat},
        {u"channels"_s, audio.channels},
        {u"sampleRate"_s, audio.sampleRate},
        {u"durationMs"_s, audio.durationMs},
        {u"bitRate"_s, audio.bitRate},
        {u"channelLayout"_s, static_cast<qint64>(audio.channelLayout)},
        {u"codecTag"_s, static_cast<qint64>(audio.codecTag)},
    };
}

QJsonObject json(const SubtitleStreamDescription& subtitle)
{
    return {
        {u"index"_s, subtitle.index},
        {u"isTextSubtitle"_s, subtitle.isTextSubtitle},
    };
}

QJsonObject json(const StreamDescription& stream)
{
    return {
        {u"index"_s, stream.index},
        {u"mediaType"_s, stream.mediaType},
        {u"codecId"_s, stream.codecId},
        {u"timeBase"_s, json(stream.timeBase)},
    };
}

QJsonObject json(const VobChapter& chapter)
{
    return {
        {u"streamIndex"_s, chapter.streamIndex},
        {u"mediaType"_s, chapter.mediaType},
        {u"headPosInFile"_s, chapter.headPosInFile},
        {u"tailPosInFile"_s, chapter.tailPosInFile},
        {u"outPtsBase"_s, chapter.outPtsBase},
        {u"outDtsBase"_s, chapter.outDtsBase},
        {u"firstPts"_s, chapter.firstPts},
        {u"firstDts"_s, chapter.firstDts},
        {u"lastPts"_s, chapter.lastPts},
        {u"lastDts"_s, chapter.lastDts},
        {u"startedWithoutPts"_s, chapter.startedWithoutPts},
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
        {u"durationMs"_s, media.durationMs},
        {u"startTimeMs"_s, media.startTimeMs},
        {u"bitRate"_s, media.bitRate},
        {u"formatLongName"_s, media.formatLongName},
        {u"videoStreams"_s, json(media.videoStreams)},
        {u"audioStreams"_s, json(media.audioStreams)},
        {u"subtitleStreams"_s, json(media.subtitleStreams)},
        {u"streams"_s, json(media.streams)},
    };
}

QJsonObject chaptersJson(const VobChapterList& list)
{
    QJsonArray chapters;
    for (const VobChapter& chapter : list.chapters)
        chapters.append(json(chapter));
    return {
        {u"chapters"_s, chapters},
        {u"audioPtsFromDts"_s, list.audioPtsFromDts},
    };
}

QJsonObject packetJson(const AVPacket& packet)
{
    return {
        {u"streamIndex"_s, packet.stream_index},
        {u"pts"_s, timestamp(packet.pts)},
        {u"dts"_s, timestamp(packet.dts)},
        {u"duration"_s, qint64(packet.duration)},
        {u"pos"_s, qint64(packet.pos)},
        {u"size"_s, packet.size},
        {u"flags"_s, packet.flags},
    };
}
