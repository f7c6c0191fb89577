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

Command sizeCommand(const CommandInput& input)
{
    const SourceProbe source(input.inputPath);
    if (!source.media)
        return {};
    Command command{inputElements(input.inputPath)};
    for (const QString& element : {audioCodecElement(input.outputPath), copyElement(*source.media)}) {
        if (!element.isEmpty())
            command.fragments << element;
    }
    const qint64 durationMs = source.sourceDurationMs();
    command.fragments << u"-ac 2"_s << u"-preset veryfast"_s
                      << bitrateElements(input.inputPath, input.percentage, durationMs);
    addTranscode(command, input, source, durationMs);
    return command;
}
