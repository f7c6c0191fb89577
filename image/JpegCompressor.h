#pragma once

#include <QString>

#include "compressor/CompressTask.h"
#include "image/ToolProcess.h"

/// Re-encodes an image to JPEG with cJpeg.
class JpegCompressor : public CompressTask
{
    Q_OBJECT

public:
    explicit JpegCompressor(const QVariantMap& params);

    bool start() override;
    void stop() override;

protected slots:
    void onCompressFinished(int exitCode, QProcess::ExitStatus exitStatus);

private:
    QStringList buildCommand();

    QString mCompressDir;
    QString mTempInputPath;
    QString mTempOutputPath;
    QString mInputPath;
    QString mOutputPath;
    QString mQuality;
    ToolProcess::Pointer mProcess;
};
