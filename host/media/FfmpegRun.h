#pragma once

#include <QByteArray>
#include <QObject>
#include <QProcess>
#include <QStringList>

#include <memory>

/// A run of the ffmpeg beside the host. It ends with this object at the latest, and with the host in whatever
/// way that ends. One run at a time.
class FfmpegRun : public QObject
{
    Q_OBJECT

public:
    FfmpegRun();
    ~FfmpegRun() override;

    /// `standardInput`: the file that "pipe:0" stands for. `folder`: where relative paths begin. Every start
    /// ends in one ended(), which doesn't come inside of it.
    void start(const QStringList& arguments, const QString& standardInput = {}, const QString& folder = {});

    /// The same, with what another ffmpeg writes to "pipe:1" as "pipe:0".
    void startFed(const QStringList& feederArguments, const QStringList& arguments,
                  const QString& folder = {});

    /// A path as ffmpeg takes it: never an option, never a protocol's address. Of images, ffmpeg takes a
    /// name with a percent sign for a pattern all the same.
    static QString pathArgument(const QString& path) { return QLatin1String("file:") + path; }

signals:
    /// How much of the output is written. Only with "-progress pipe:1" among the arguments.
    void progressed(qint64 outputMs);
    /// The log's last megabyte. A run that could not be started has no success and no log.
    void ended(bool isSuccess, const QByteArray& log);

private:
    void launch(QProcess& process, const QStringList& arguments);
    void endFeeder();
    void readProgress();
    void readLog();
    void onFinished(bool isSuccess);

    QProcess mProcess;
    std::unique_ptr<QProcess> mFeeder;
    QByteArray mLog;
};
