#pragma once

#include <QObject>

#include "host/media/FfmpegRun.h"
#include "host/media/MediaGlance.h"

/// Compares a result with its source, at the result's size, as one looks at them: turned the right way up,
/// and what is transparent in both on grey. Videos are compared frame by frame, covers aside. One
/// comparison at a time; letting the probe go ends it.
class SsimProbe : public QObject
{
    Q_OBJECT

public:
    enum class Kind
    {
        Video,
        Image
    };

    SsimProbe();

    /// The paths are absolute; the result's suffix tells how it was encoded.
    void start(const QString& resultPath, const QString& sourcePath, Kind kind);

    /// The last "All:" in a log; -1.0 when there is none, or no number.
    static double ssimIn(const QByteArray& log);

signals:
    /// May begin anew once.
    void progressed(float progress);
    /// 0.0 to 1.0; -1.0 when the two could not be compared.
    void ended(double ssim);

private:
    enum class Step
    {
        Glance,
        First,
        Last
    };

    QStringList videoInput() const;
    QStringList imageInputs() const;
    void compare(const QByteArray& log);
    void compareVideos(bool asContainerDoes);
    static QString imageGraph(const MediaGlance::Video& image, const MediaGlance::Video& source);
    static QStringList comparison(const QString& graph);
    void onCompared(double ssim);

    FfmpegRun mRun;
    QString mResultPath;
    QString mSourcePath;
    Kind mKind = Kind::Image;
    Step mStep = Step::Glance;
    QSize mVideoSize;
    qint64 mDurationMs = 0;
    double mSsim = -1.0;
};
