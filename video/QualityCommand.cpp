#include "video/VideoCompressor.h"

#include <algorithm>

#include "demux/MediaDescription.h"
#include "image/CommandLine.h"
#include "video/CommandSteps.h"

using namespace Qt::StringLiterals;

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
        elements << (source.coverComesFirst() ? u"-map 0:v:1"_s : u"-map 0:v:0"_s);
    if (!media.audioStreams.isEmpty()) {
        const QString audioCodec = audioCodecElement(outputPath);
        if (!audioCodec.isEmpty())
            elements << audioCodec;
        elements << u"-ac 2"_s << u"-map 0:a"_s;
    }
    if (!media.subtitleStreams.isEmpty() && onlyTextSubtitles(media)) {
        const bool mp4 = outputSuffix(outputPath) == "mp4"_L1;
        elements << (mp4 ? u"-c:s mov_text"_s : u"-c:s copy"_s) << u"-map 0:s"_s;
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
    command << streamElements(source, mOutputPath) << u"-preset veryfast"_s << u"-crf"_s << mQuality
            << transcodeElements(source);
    return command;
}

// The end of both transcodes: the picture, the threads and the output.
QStringList VideoCompressor::transcodeElements(const SourceProbe& source)
{
    mProgressFilePath = nextProgressFilePath();
    QStringList elements{u"-vf"_s,      scaleElement(source, mScale),         u"-filter_threads 1"_s, u"-y"_s,
                         u"-threads"_s, QString::number(encoderThreadCount())};
    elements << outputElements(mOutputPath, mProgressFilePath);
    return elements;
}
