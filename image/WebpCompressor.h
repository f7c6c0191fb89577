#pragma once

#include <QString>

#include "compressor/CompressTask.h"
#include "image/FinishRule.h"
#include "image/PlainNames.h"
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
    Verdict judgeRun(const ToolProcess::Ending& ending) const;
    bool deliver(Verdict::Delivery delivery) const;

    QString mInputPath;
    QString mOutputPath;
    QString mQuality;
    PlainNames mNames; ///< of the current run
    ToolProcess::Pointer mProcess;
};
