#pragma once

#include <QString>

#include "compressor/CompressTask.h"
#include "image/ToolProcess.h"

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
    QStringList buildCommand();

    QString mCompressDir;
    QString mInputPath;
    QString mTempInputPath;
    QString mTempOutputPath;
    QString mOutputPath;
    QString mQuality;
    ToolProcess::Pointer mProcess;
};
