#pragma once

#include <QString>

#include <memory>

#include "compressor/CompressTask.h"
#include "image/ToolProcess.h"
#include "video/ProgressThread.h"

/// Re-encodes a video with ffmpeg.
class VideoCompressor : public CompressTask
{
    Q_OBJECT

public:
    explicit VideoCompressor(const QVariantMap& params);

private:
    QString mInputPath;
    QString mOutputPath;
    QString mQuality;    ///< the constant rate factor, when not mIsPercentage
    QString mPercentage; ///< the wanted size in percent of the source's, when mIsPercentage
    QString mPreset;     ///< kept for the host; no command uses it
    QString mScale;
    qint64 mDurationMs = 0; ///< the source's, written by the builders
    bool mIsPercentage;
    QString mProgressFilePath; ///< written by the builders
    ToolProcess::Pointer mProcess;
    std::unique_ptr<ProgressThread> mProgressThread;
};
