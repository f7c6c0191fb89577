#include "image/FinishRule.h"

namespace {

constexpr int kCorruptInputFinishCode = 1;

// A dead encoder's output may be a half-written one: the run keeps its code, and nobody gets the file.
ImageVerdict::Delivery ifWhole(const ImageRun& run, ImageVerdict::Delivery delivery)
{
    return run.endedWhole ? delivery : ImageVerdict::Nothing;
}

} // namespace

ImageVerdict judgeImageRun(const ImageRun& run)
{
    // The size comes first: a result that grew gives way to the source whatever the exit code says.
    if (run.resultBytes > run.sourceBytes)
        return {run.exitCode, false, true, ifWhole(run, ImageVerdict::Source)};
    // The exit code of a crash is a signal's number and says nothing of the input.
    if (run.endedWhole && run.exitCode == run.corruptInputCode)
        return {kCorruptInputFinishCode, true, true, ImageVerdict::Nothing};
    // An empty file is no image.
    if (run.resultBytes == 0)
        return kNoOutputVerdict;
    // Other codes are warnings of an encoder that has written its output, such as cjpeg's 2.
    return {run.exitCode, false, true, ifWhole(run, ImageVerdict::Result)};
}
