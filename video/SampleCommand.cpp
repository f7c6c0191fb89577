#include "video/VideoCompressor.h"

#include "image/CommandLine.h"
#include "video/CommandSteps.h"
#include "video/PictureSize.h"

QStringList VideoCompressor::buildSampleCommand()
{
    const SourceProbe source(mInputPath);
    if (!source.media)
        return {};

    QStringList command = inputElements(mInputPath);
    command << QStringLiteral("-preset veryfast");
    if (mIsPercentage)
        command << bitrateElements(mInputPath, mPercentage, source.describedDurationMs());
    else
        command << QStringLiteral("-crf") << mQuality;
    // A sample at full size keeps the source's picture, also where a transcode would round it.
    if (divisorOf(mScale) > 1)
        command << QStringLiteral("-vf") << scaleElement(source, mScale);
    command << QStringLiteral("-ac 2") << QStringLiteral("-y") << QStringLiteral("-t 15");
    mProgressFilePath = nextProgressFilePath();
    command << outputElements(mOutputPath, mProgressFilePath);
    return command;
}
