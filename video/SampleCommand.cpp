#include "video/VideoCompressor.h"

#include "image/CommandLine.h"
#include "video/CommandSteps.h"
#include "video/PictureSize.h"

using namespace Qt::StringLiterals;

QStringList VideoCompressor::buildSampleCommand()
{
    const SourceProbe source(mInputPath);
    if (!source.media)
        return {};

    QStringList command = inputElements(mInputPath);
    command << u"-preset veryfast"_s;
    if (mIsPercentage)
        command << bitrateElements(mInputPath, mPercentage, source.describedDurationMs());
    else
        command << u"-crf"_s << mQuality;
    // A sample at full size keeps the source's picture, also where a transcode would round it.
    if (divisorOf(mScale) > 1)
        command << u"-vf"_s << scaleElement(source, mScale);
    command << u"-ac 2"_s << u"-y"_s << u"-t 15"_s;
    mProgressFilePath = nextProgressFilePath();
    command << outputElements(mOutputPath, mProgressFilePath);
    return command;
}
