#include "video/VideoCompressor.h"

#include "demux/MediaDescription.h"
#include "video/CommandSteps.h"

namespace {

QString copyElement(const Vantor::MediaDescription& media)
{
    const auto& subtitles = media.subtitleStreams;
    if (media.audioStreams.size() > 1 || subtitles.size() > 1)
        return QStringLiteral("-map 0 -c:s copy");
    if (subtitles.size() == 1 && subtitles[0]->isTextSubtitle)
        return QStringLiteral("-c:s copy");
    return {};
}

} // namespace

QStringList VideoCompressor::buildSizeCommand()
{
    const SourceProbe source(mInputPath);
    if (!source.media)
        return {};
    mDurationMs = source.sourceDurationMs();

    QStringList command = inputElements(mInputPath);
    for (const QString& element : {audioCodecElement(mOutputPath), copyElement(*source.media)}) {
        if (!element.isEmpty())
            command << element;
    }
    command << QStringLiteral("-ac 2") << QStringLiteral("-preset veryfast")
            << bitrateElements(mInputPath, mPercentage, mDurationMs) << transcodeElements(source);
    return command;
}
