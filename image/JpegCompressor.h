#pragma once

#include "compressor/CompressTask.h"
#include "image/WorkspaceJob.h"

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
    WorkspaceJob mJob;
};
