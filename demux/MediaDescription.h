#pragma once

#include <QList>
#include <QSharedPointer>
#include <QString>

#include "demux/FFmpeg.h"

namespace Vantor {

class FFDemuxer;

// Enumerated values are FFmpeg's own numbers. A duration that the source doesn't know is negative or 0.

struct VideoStreamDescription
{
    qint32 index = 0;                        ///< in the container
    qint32 mediaType = AVMEDIA_TYPE_UNKNOWN; ///< not filled
    qint32 codecId = AV_CODEC_ID_NONE;
    AVRational timeBase{0, 0};
    quint32 codecTag = 0;
    qint32 pixelFormat = AV_PIX_FMT_NONE;
    qint32 width = 0; ///< as coded, before rotation and sample aspect ratio
    qint32 height = 0;
    AVRational frameRate{25, 1}; ///< never 0, at most 1000
    qint64 durationMs = 0;
    qint64 bitRate = 0;                 ///< bit/s; 0 when unknown
    AVRational sampleAspectRatio{1, 1}; ///< 0/1 when unknown
    qint32 rotation = 0;                ///< degrees that the picture is to be turned clockwise, 0 to 359
    bool isAttachedPicture = false;     ///< a cover or another still picture
};

struct AudioStreamDescription
{
    qint32 index = 0;
    qint32 mediaType = AVMEDIA_TYPE_UNKNOWN; ///< not filled
    qint32 codecId = AV_CODEC_ID_NONE;
    AVRational timeBase{0, 0};
    qint32 sampleFormat = AV_SAMPLE_FMT_NONE;
    qint32 channels = 0;
    qint32 sampleRate = 0;
    qint64 durationMs = 0;
    qint64 bitRate = 0;        ///< bit/s; 0 when unknown
    quint64 channelLayout = 0; ///< a mask of AV_CH_*; 0 when the channels have no native order
    quint32 codecTag = 0;
};

struct SubtitleStreamDescription
{
    qint32 index = 0;
    bool isTextSubtitle = false; ///< text, not pictures
};

struct StreamDescription
{
    qint32 index = 0;
    qint32 mediaType = AVMEDIA_TYPE_UNKNOWN;
    qint32 codecId = AV_CODEC_ID_NONE;
    AVRational timeBase{0, 0};
};

/// The facts of a source; the lists are in stream order.
struct MediaDescription
{
    qint64 durationMs = 0;  ///< rounded up by 5: 10 s give 10005; negative when unknown
    qint64 startTimeMs = 0; ///< negative when unknown
    qint64 bitRate = 0;     ///< bit/s; 0 when unknown
    QString formatLongName;
    QList<QSharedPointer<VideoStreamDescription>> videoStreams;
    QList<QSharedPointer<AudioStreamDescription>> audioStreams;
    QList<QSharedPointer<SubtitleStreamDescription>> subtitleStreams;
    QList<QSharedPointer<StreamDescription>> streams; ///< every stream, of any type
};

/// Describes an open demuxer without moving its read position; null when nothing is open. Whether a first
/// video stream of a Windows Media file is a still picture takes a second look into the file.
QSharedPointer<MediaDescription> describeMedia(FFDemuxer& demuxer);

} // namespace Vantor
