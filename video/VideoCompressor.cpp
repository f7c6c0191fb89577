#include "video/VideoCompressor.h"

VideoCompressor::VideoCompressor(const QVariantMap& params)
    : CompressTask(params), mInputPath(params.value(QStringLiteral("inputPath")).toString()),
      mOutputPath(params.value(QStringLiteral("outputPath")).toString()),
      mIsPercentage(params.value(QStringLiteral("isPercentage")).toBool())
{
    QString& quality = mIsPercentage ? mPercentage : mQuality;
    quality = params.value(QStringLiteral("quality")).toString();
    mPreset = params.value(QStringLiteral("preset")).toString();
    mScale = params.value(QStringLiteral("scale")).toString();
}
