#pragma once

#include <QStringList>
#include <QTest>

#include "demux/FFDemuxer.h"

/// A media source of the tests by its file name.
QString mediaPath(QAnyStringView name);

/// The demuxer's log records since it was made, as texts, and FFmpeg's. One at a time.
class RecordCapture
{
public:
    RecordCapture();
    ~RecordCapture();
    Q_DISABLE_COPY_MOVE(RecordCapture)

    /// Each once.
    QStringList take() { return std::exchange(mTexts, {}); }
    QStringList takeFFmpegLines() { return std::exchange(mFFmpegLines, {}); }

private:
    QStringList mTexts;
    QStringList mFFmpegLines;
};

/// A packet by value.
struct Packet
{
    int stream;
    qint64 pts, dts, duration, pos;
    QByteArray data;

    bool operator==(const Packet&) const = default;
};

/// The packets from where the demuxer stands to its end.
QList<Packet> readAll(Vantor::FFDemuxer& demuxer);

/// Media sources as Qt resources, ":/" and their file name, for as long as this object lives.
class MediaResources
{
public:
    explicit MediaResources(const QStringList& names);
    ~MediaResources();
    Q_DISABLE_COPY_MOVE(MediaResources)

private:
    QByteArray mContent;
};
