#pragma once

#include <QString>

#include "compressor/CompressTask.h"
#include "image/PlainNames.h"
#include "image/ToolProcess.h"
#include "video/ProgressThread.h"

struct SourceProbe;

/// Re-encodes a video with ffmpeg, which writes the output path itself.
class VideoCompressor : public CompressTask
{
    Q_OBJECT

public:
    explicit VideoCompressor(const QVariantMap& params);

    bool start() override;
    void stop() override;
    bool estimate() override;

    /// The fragments of ffmpeg's command line, without the program: blanks separate words, also within a
    /// fragment, and paths are quoted. Each build names a progress file, and the first two store the source's
    /// duration. Empty when the source cannot be opened; then nothing is stored.
    QStringList buildQualityCommand();
    QStringList buildSizeCommand();
    QStringList buildSampleCommand();

    /// The source's duration as the last build of the first two commands found it; below 1 when unknown.
    qint64 durationMs() const { return mDurationMs; }

protected slots:
    void onCompressProgress(float);
    void onCompressFinished(int exitCode, QProcess::ExitStatus exitStatus);

private:
    using Builder = QStringList (VideoCompressor::*)();

    bool run(Builder builder);
    QStringList transcodeElements(const SourceProbe& source);
    bool refusesSource();
    QStringList build(Builder builder);
    void launch(const QString& command, float durationMs, Qt::ConnectionType progressConnection);
    void retireMonitor();
    void finishSuccessfully(ToolProcess::Ending& ending, const QString& text);

    QString mInputPath;
    QString mOutputPath;
    QString mQuality;    ///< the constant rate factor, unless mIsPercentage
    QString mPercentage; ///< the wanted size in percent of the source's, if mIsPercentage
    QString mPreset;     ///< kept for the host; no command uses it
    QString mScale;
    qint64 mDurationMs = 0;
    bool mIsPercentage;
    QString mProgressFilePath;
    PlainNames mNames; ///< of the current run
    ToolProcess::Pointer mProcess;
    // The last member, and so the first to go: no progress comes from a half-destroyed task.
    ProgressThread::Pointer mProgressThread;
};
