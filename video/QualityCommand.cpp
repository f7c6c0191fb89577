#include <algorithm>

#include "demux/MediaDescription.h"
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

Command qualityCommand(const CommandInput& input)
{
    const SourceProbe source(input.inputPath);
    if (!source.media)
        return {};
    Command command{inputElements(input.inputPath)};
    command.fragments << streamElements(source, input.outputPath) << u"-preset veryfast"_s << u"-crf"_s
                      << input.quality;
    addTranscode(command, input, source, source.sourceDurationMs());
    return command;
}
