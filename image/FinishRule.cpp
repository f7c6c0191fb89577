#include "image/FinishRule.h"

#include "compressor/FinishCode.h"

using namespace Qt::StringLiterals;

namespace {

// Rows end with one for every other code, which is then the finish code too.
constexpr int kAnyCode = -1;

struct CodeRow
{
    int exitCode;
    int finishCode;
    QLatin1String text;
    Verdict::Delivery delivery;
};

constexpr QLatin1String kNoText;
constexpr QLatin1String kCorruptText("The file is corrupt or not a standard file format");
constexpr QLatin1String kFailText("fail");

// cJpeg ends with 1 for every error; an input that is no image is the likely one. Other codes are warnings of
// an encoder that has written its output, such as 2.
constexpr CodeRow kJpegCodes[] = {
    {1, FinishCode::kCorruptInput, kCorruptText, Verdict::Nothing},
    {kAnyCode, kAnyCode, kNoText, Verdict::Result},
};

constexpr CodeRow kPngCodes[] = {
    {25, FinishCode::kCorruptInput, kCorruptText, Verdict::Nothing},
    {kAnyCode, kAnyCode, kNoText, Verdict::Result},
};

constexpr CodeRow kWebpCodes[] = {
    {0, FinishCode::kSuccess, "successful"_L1, Verdict::Result},
    {kAnyCode, kAnyCode, kFailText, Verdict::Nothing},
};

constexpr CodeRow kVideoCodes[] = {
    {0, FinishCode::kSuccess, "successful"_L1, Verdict::Result},
    // ffmpeg's answer to a command that it cannot carry out.
    {1, FinishCode::kRefused, " Check the parameters please "_L1, Verdict::Nothing},
    {FinishCode::kStopped, FinishCode::kStopped, "Process Abort"_L1, Verdict::Nothing},
    {kAnyCode, kAnyCode, "Unknown mistake"_L1, Verdict::Nothing},
};

constexpr struct
{
    const CodeRow* codes;
    /// A result larger than the source gives way to the source, whatever the code says.
    bool weighed;
    /// An empty file is no image, and ends so.
    bool needsOutput;
    /// The exit code of a crash is a signal's number and has no row of its own.
    bool crashesApart;
    Verdict undelivered;
} kKinds[] = {
    {kJpegCodes, true, true, true, {FinishCode::kNoOutput, kNoText, Verdict::Nothing, false}},
    {kPngCodes, true, true, true, {FinishCode::kNoOutput, kNoText, Verdict::Nothing, false}},
    {kWebpCodes, true, false, false, {FinishCode::kNoOutput, kFailText, Verdict::Nothing}},
    {kVideoCodes, false, false, false, {FinishCode::kRefused, kVideoCodes[1].text, Verdict::Nothing}},
};

} // namespace

Verdict judge(TaskKind kind, const EncoderRun& run)
{
    const auto& rule = kKinds[static_cast<int>(kind)];
    // A dead encoder's output may be a half-written one: the run keeps its code, and nobody gets the file.
    const auto ifWhole = [&run](Verdict::Delivery delivery) {
        return run.endedWhole ? delivery : Verdict::Nothing;
    };
    if (rule.weighed && run.resultBytes > run.sourceBytes)
        return {run.exitCode, kNoText, ifWhole(Verdict::Source)};

    const CodeRow* row = rule.codes;
    const bool anyOnly = rule.crashesApart && !run.endedWhole;
    while (row->exitCode != kAnyCode && (anyOnly || row->exitCode != run.exitCode))
        ++row;
    if (row->exitCode == kAnyCode && rule.needsOutput && run.resultBytes == 0)
        return rule.undelivered;
    const int finishCode = row->exitCode == kAnyCode ? run.exitCode : row->finishCode;
    return {finishCode, row->text, ifWhole(row->delivery)};
}

Verdict undelivered(TaskKind kind)
{
    return kKinds[static_cast<int>(kind)].undelivered;
}
