#pragma once

#include <QByteArray>
#include <QList>
#include <QSize>
#include <QString>

/// What ffmpeg says of a file in passing, in its log.
struct MediaGlance
{
    struct Video
    {
        int stream; ///< its index among all streams
        QSize size; ///< as stored, before any rotation
        QString pixelFormat;
        bool isAttachedPicture = false;

        bool mayHaveAlpha() const;
    };

    qint64 durationMs = 0; ///< 0: not known
    QList<Video> videos;
    int soundCount = 0;

    /// The first one that is no cover; null when there is none.
    const Video* video() const;

    /// All inputs that a log describes, in their order.
    static QList<MediaGlance> inputsIn(const QByteArray& log);
};
