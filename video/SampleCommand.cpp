#include "video/CommandSteps.h"
#include "video/PictureSize.h"

using namespace Qt::StringLiterals;

Command sampleCommand(const CommandInput& input)
{
    const SourceProbe source(input.inputPath);
    if (!source.media)
        return {};
    Command command{inputElements(input.inputPath)};
    QStringList& fragments = command.fragments;
    fragments << u"-preset veryfast"_s;
    if (input.isPercentage)
        fragments << bitrateElements(input.inputPath, input.percentage, source.describedDurationMs());
    else
        fragments << u"-crf"_s << input.quality;
    // A sample at full size keeps the source's own, also where a transcode would round it.
    if (divisorOf(input.scale) > 1)
        fragments << u"-vf"_s << scaleElement(source, input.scale);
    fragments << u"-ac 2"_s << u"-y"_s << u"-t %1"_s.arg(kSampleMs / 1000);
    addOutput(command, input.outputPath);
    return command;
}
