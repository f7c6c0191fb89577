#pragma once

#include <QString>

#include "compressor/CompressTask.h"
#include "image/ToolProcess.h"

/// Encodes an image as WebP with ffmpeg, which reads the source and writes the output path itself.
class WebpCompressor : public CompressTask
{
    Q_OBJECT

public:
    explicit WebpCompressor(const QVariantMap& params);

    bool start() override;
    void stop() override;

protected slots:
    void onCompressFinished(int exitCode, QProcess::ExitStatus exitStatus);

private:
    QStringList buildCommand();
    bool replaceBySource(const ToolProcess::Ending& ending);
    void finish(ToolProcess::Ending& ending, int finishCode, const QString& description);

    QString mInputPath;
    QString mOutputPath;
    QString mQuality;
    ToolProcess::Pointer mProcess;
};
