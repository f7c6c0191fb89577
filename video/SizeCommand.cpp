#include "video/VideoCompressor.h"

#include "demux/MediaDescription.h"
#include "video/CommandSteps.h"

using namespace Qt::StringLiterals;

namespace {

QString copyElement(const Vantor::MediaDescription& media)
{
    const auto& subtitles = media.subtitleStreams;
    if (media.audioStreams.size() > 1 || subtitles.size() > 1)
        return u"-map 0 -c:s copy"_s;
    if (subtitles.size() == 1 && subtitles[0]->isTextSubtitle)
        return u"-c:s copy"_s;
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
    command << u"-ac 2"_s << u"-preset veryfast"_s << bitrateElements(mInputPath, mPercentage, mDurationMs)
            << transcodeElements(source);
    return command;
}
