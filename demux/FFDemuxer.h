#pragma once

#include <QSharedPointer>
#include <QString>

#include <memory>

#include "demux/FFmpeg.h"
#include "hostlibs/BasicObject.h"

class QFile;

namespace Vantor {

/// One media input: a file, or a file of the Qt resource system (a path that begins with ':').
///
/// Used by one thread at a time. Nothing throws; what goes wrong is told to the host's logger.
class FFDemuxer : public BasicObject
{
public:
    /// What it means when timestamps fall by more than a minute.
    enum class TimestampFall
    {
        ClockWrap, ///< the source's clock began again: later timestamps are moved up by its whole range
        Joint      ///< another piece begins: they stay as they are
    };

    explicit FFDemuxer(TimestampFall fall = TimestampFall::ClockWrap);
    ~FFDemuxer() override;

    /// Opens the input and reads its stream information, which blocks for as long as the probing takes. False
    /// when it cannot be read as media; the demuxer is then closed. May be called again, also for another
    /// path.
    virtual bool open(const QString& path);
    virtual void close();

    /// Moves to `ms` milliseconds of the given stream (its own time, below 0 as 0). A stream that is not
    /// there moves nothing.
    virtual void seek(qint64 ms, int streamIndex);

    /// The next packet in the container's order; null at the end, on an error, and when nothing is open.
    virtual QSharedPointer<AVPacket> readPacket();

    /// The container's duration in milliseconds; 0 when it is unknown or nothing is open.
    virtual qint64 durationMs();

    /// Moves to a byte position, for containers that can: others stay where they are.
    void seekByFilePos(qint64 pos);

    /// The open input, empty when there is none. A copy keeps it open, and for a resource its file too.
    QSharedPointer<AVFormatContext> formatContext() const { return mFormatCtx; }

    /// The path of the last open() that succeeded.
    const QString& filePath() const { return mFilePath; }

private:
    /// Both give FFmpeg's result, and at 0 mFormatCtx has the input.
    int openFile(const QString& path);
    int openResource();

    bool readStreamInfo();

    QSharedPointer<AVFormatContext> mFormatCtx;
    /// Shared with the context that reads from it, which a copy of its handle can keep beyond this object.
    std::shared_ptr<QFile> mQrcFile;
    QString mFilePath;
    TimestampFall mTimestampFall;
};

} // namespace Vantor
