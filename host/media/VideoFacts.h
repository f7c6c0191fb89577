#pragma once

#include <QList>
#include <QMap>
#include <QSize>
#include <QString>

#include "host/job/JobResult.h"
#include "host/media/ToolRun.h"

/// Keys as the file spells them.
using Tags = QMap<QString, QString>;

struct StreamFacts
{
    enum Type
    {
        Video,
        Audio,
        Subtitle,
        Other
    };

    Type type = Other;
    Tags tags;
    qint64 endMs = -1; ///< from the video's beginning; -1: the container tells none for this stream

    // Video
    bool isAttachedPicture = false; ///< a cover
    QSize size;                     ///< pixels, before any rotation
    double frameRate = 0;           ///< images a second, 0: not known
    int bits = 8;                   ///< of one colour
    bool hasAlpha = false;
    bool isHdr = false;

    // Audio
    int channels = 0;

    bool isVideo() const { return type == Video && !isAttachedPicture; }
};

/// What ffprobe tells of a video.
struct VideoFacts
{
    QString error;     ///< for people: why nothing is known. Empty: the other members are set
    QString container; ///< ffmpeg's name, such as "mov,mp4,m4a,3gp,3g2,mj2"
    /// Of images and sound: covers, subtitles and data may last longer. 0: not known.
    qint64 lengthMs = 0;
    /// The container says the length. False for one that was estimated from the bitrate or from the first and
    /// the last time stamp that is there: what was cut off is not in it.
    bool isLengthStated = false;
    QList<StreamFacts> streams;
    int chapters = 0;
    Tags tags; ///< of the whole video

    /// The first stream that is a video's image; null for sound alone.
    const StreamFacts* videoStream() const;
};

/// The value under a key in any case; empty where there is none.
QString tagValue(const Tags& tags, const QString& key);

/// What asks the ffprobe beside the host what is in a file, in some 50 ms. An image may have any name.
ToolCall videoProbe(const QString& path, bool isImage = false);

/// Reads the answer. Pure.
VideoFacts videoFactsIn(const ToolResult& answer);

/// What a video's result has no more. Ids: "hdr", "bit-depth", "audio-channels", "alpha", "audio-tracks",
/// "subtitles", "cover". Pure.
QList<Warning> videoLosses(const VideoFacts& source, const VideoFacts& result);
