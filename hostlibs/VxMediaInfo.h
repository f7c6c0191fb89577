#pragma once

#include <QList>
#include <QSharedPointer>
#include <QString>

namespace Vantor {

struct MediaInfoAudioStream
{
    qint32 bitrate = 0; ///< bit/s; 0 when neither the codec nor the container's statistics say
};

struct MediaInfoV3
{
    qint64 duration = 0;                                      ///< milliseconds, truncated; 0 when unknown
    qint64 size = 0;                                          ///< of the file, in bytes
    QList<QSharedPointer<MediaInfoAudioStream>> audioStreams; ///< in stream order
};

/// What is known about the file at `path`: never null, and all zeros when it cannot be read. It opens the
/// file for itself and blocks for as long as that takes: up to 6 s where the container says no duration. The
/// module passes -1 and true.
QSharedPointer<MediaInfoV3> getMediaInfo(const QString& path, int, bool);

} // namespace Vantor
