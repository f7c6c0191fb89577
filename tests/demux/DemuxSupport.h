#pragma once

#include <QJsonObject>
#include <QStringList>
#include <QTest>

#include "demux/FFDemuxer.h"

/// A media source of the tests by its file name.
QString mediaPath(const QString& name);

/// What ffprobe says about a file with these further arguments.
QJsonObject ffprobe(const QString& path, const QStringList& arguments);

/// The demuxer's log records since it was made, as texts, and FFmpeg's. One at a time.
class RecordCapture
{
public:
    RecordCapture();
    ~RecordCapture();
    Q_DISABLE_COPY_MOVE(RecordCapture)

    /// The texts, once.
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
    qint64 pts;
    qint64 dts;
    qint64 duration;
    qint64 pos;
    QByteArray data;

    bool operator==(const Packet&) const = default;
};

/// The packets from where the demuxer stands to its end.
QList<Packet> readAll(Vantor::FFDemuxer& demuxer);

/// Files as Qt resources, under ":/" and the name that they have here, for as long as this object lives.
class MediaResources
{
public:
    /// Name in the resources, file.
    explicit MediaResources(const QMap<QString, QString>& files);
    ~MediaResources();
    Q_DISABLE_COPY_MOVE(MediaResources)

private:
    QByteArray mContent;
};
