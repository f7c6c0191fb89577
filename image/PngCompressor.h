#pragma once

#include "compressor/CompressTask.h"
#include "image/WorkspaceJob.h"

/// Reduces an image to a palette PNG with pngquant.
class PngCompressor : public CompressTask
{
    Q_OBJECT

public:
    explicit PngCompressor(const QVariantMap& params);

    bool start() override;
    void stop() override;

protected slots:
    void onCompressFinished(int exitCode, QProcess::ExitStatus exitStatus);

private:
    WorkspaceJob mJob;
};
