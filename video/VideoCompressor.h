#pragma once

#include <QString>

#include <memory>

#include "compressor/CompressTask.h"
#include "image/PlainNames.h"
#include "image/ToolProcess.h"
#include "video/Commands.h"
#include "video/ProgressThread.h"

/// Re-encodes a video with ffmpeg, which writes the output path itself.
class VideoCompressor : public CompressTask
{
    Q_OBJECT

public:
    explicit VideoCompressor(const QVariantMap& params);

    bool start() override;
    void stop() override;
    bool estimate() override;

    /// See Commands.h. Each build names a progress file, and the first two store the source's duration. When
    /// the source cannot be opened, nothing is stored.
    QStringList buildQualityCommand();
    QStringList buildSizeCommand();
    QStringList buildSampleCommand();

    /// The source's duration as the last build of the first two commands found it; below 1 when unknown.
    qint64 durationMs() const { return mDurationMs; }

protected slots:
    void onCompressProgress(float);
    void onCompressFinished(int exitCode, QProcess::ExitStatus exitStatus);

private:
    bool run(CommandBuilder builder);
    QStringList build(CommandBuilder builder, const PlainNames& names);
    void launch(const QString& command, float durationMs, Qt::ConnectionType progressConnection);

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
    /// Of the current run: values that are on their way to it go with it.
    std::unique_ptr<QObject> mProgressContext;
    ToolProcess::Pointer mProcess;
    // The last member, and so the first to go: no progress comes from a half-destroyed task.
    ProgressThread::Pointer mProgressThread;
};
