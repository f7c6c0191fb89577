#include "video/VideoCompressor.h"

#include <algorithm>

#include "demux/MediaDescription.h"
#include "image/CommandLine.h"
#include "video/CommandSteps.h"

namespace {

// One bitmap subtitle suppresses all: no container takes both kinds through one codec option.
bool onlyTextSubtitles(const Vantor::MediaDescription& media)
{
    return std::all_of(media.subtitleStreams.begin(), media.subtitleStreams.end(),
                       [](const auto& stream) { return stream->isTextSubtitle; });
}

QStringList streamElements(const SourceProbe& source, const QString& outputPath)
{
    const Vantor::MediaDescription& media = *source.media;
    QStringList elements;
    if (!media.videoStreams.isEmpty())
        elements << (source.coverComesFirst() ? QStringLiteral("-map 0:v:1") : QStringLiteral("-map 0:v:0"));
    if (!media.audioStreams.isEmpty()) {
        const QString audioCodec = audioCodecElement(outputPath);
        if (!audioCodec.isEmpty())
            elements << audioCodec;
        elements << QStringLiteral("-ac 2") << QStringLiteral("-map 0:a");
    }
    if (!media.subtitleStreams.isEmpty() && onlyTextSubtitles(media)) {
        const bool mp4 = outputSuffix(outputPath) == QLatin1String("mp4");
        elements << (mp4 ? QStringLiteral("-c:s mov_text") : QStringLiteral("-c:s copy"))
                 << QStringLiteral("-map 0:s");
    }
    return elements;
}

} // namespace

QStringList VideoCompressor::buildQualityCommand()
{
    const SourceProbe source(mInputPath);
    if (!source.media)
        return {};
    mDurationMs = source.sourceDurationMs();

    QStringList command = inputElements(mInputPath);
    command << streamElements(source, mOutputPath) << QStringLiteral("-preset veryfast")
            << QStringLiteral("-crf") << mQuality << transcodeElements(source);
    return command;
}

// The end of both transcodes: the picture, the threads and the output.
QStringList VideoCompressor::transcodeElements(const SourceProbe& source)
{
    mProgressFilePath = nextProgressFilePath();
    QStringList elements{
        QStringLiteral("-vf"), scaleElement(source, mScale), QStringLiteral("-filter_threads 1"),
        QStringLiteral("-y"),  QStringLiteral("-threads"),   QString::number(encoderThreadCount())};
    elements << outputElements(mOutputPath, mProgressFilePath);
    return elements;
}
