#include "host/cli/OptionTable.h"

namespace {

constexpr char kWhat[] = "What it makes";
constexpr char kWhere[] = "Files";
constexpr char kRules[] = "What may be lost or replaced";
constexpr char kHow[] = "How it runs";
constexpr char kSaid[] = "What it says";

using enum ArgumentKind;

constexpr OptionRow kTable[] = {
    {'q', "quality", "N", Number, nullptr, kWhat, "images: 0 to 100 (best); videos: 51 to 0 (best)",
     "75; PNG 80; videos 28", true},
    {0, "size", "SIZE", Text, nullptr, kWhat, "the result's size: 40%, 8MB or 8MiB", nullptr, true},
    {0, "min-ssim", "X", Number, nullptr, kWhat, "raise the quality until the SSIM is X, 0 to 1", nullptr,
     false},
    {0, "scale", "N", OneOf, "1 2 4", kWhat, "videos: divide width and height by 1, 2 or 4", nullptr, true},
    {0, "format", "SUFFIX", OneOf, "jpg png webp mp4 mov mkv m4v avi flv f4v m2ts", kWhat,
     "make all images, or all videos, this kind", "the input's own", true},
    {0, "container", nullptr, None, nullptr, kWhat, "take other suffixes for video containers too", nullptr,
     false},
    {0, "estimate", nullptr, None, nullptr, kWhat, "predict the sizes by samples, deliver nothing", nullptr,
     true},
    {'n', "dry-run", nullptr, None, nullptr, kWhat, "encode images for their true sizes, deliver nothing",
     nullptr, true},

    {'o', "output", "PATH", FileOrFolder, nullptr, kWhere, "the output, or the folder for the outputs",
     nullptr, true},
    {'r', "recursive", nullptr, None, nullptr, kWhere, "take folders too, and mirror their trees", nullptr,
     true},
    {0, "files-from", "FILE", File, nullptr, kWhere, "take inputs from FILE, or - for standard input",
     nullptr, false},
    {'0', "null", nullptr, None, nullptr, kWhere, "the names of --files-from end with a zero byte", nullptr,
     false},
    {0, "suffix", "TEXT", Text, nullptr, kWhere, "write beside the input, with TEXT behind the name", nullptr,
     true},
    {0, "in-place", nullptr, None, nullptr, kWhere, "replace the inputs by the results", nullptr, true},
    {'f', "force", nullptr, None, nullptr, kWhere, "replace existing outputs", nullptr, true},
    {0, "skip-existing", nullptr, None, nullptr, kWhere, "leave existing outputs and their inputs alone",
     nullptr, false},
    {0, "shard", "K/N", Text, nullptr, kWhere, "take the K-th of N equal parts of the inputs", nullptr,
     false},

    {0, "min-savings", "PERCENT", Number, nullptr, kRules, "keep the source when less is saved", "0", false},
    {0, "allow-larger", nullptr, None, nullptr, kRules, "deliver a video also when it came out larger",
     nullptr, false},
    {0, "first-frame", nullptr, None, nullptr, kRules, "take animated images and keep their first frame",
     nullptr, false},
    {0, "keep-damaged", nullptr, None, nullptr, kRules, "deliver what came of a cut source, to a new path",
     nullptr, false},
    {0, "keep-metadata", nullptr, None, nullptr, kRules, "copy colour profile, EXIF; creation time, chapters",
     nullptr, false},
    {0, "keep-dates", nullptr, None, nullptr, kRules, "give new outputs the times of their inputs", nullptr,
     false},
    {0, "break-links", nullptr, None, nullptr, kRules, "replace files that have further names (hard links)",
     nullptr, false},

    {'j', "jobs", "N", Number, nullptr, kHow, "run so many side by side", "as the cores bear", true},
    {0, "nice", "N", Number, nullptr, kHow, "run the encoders at this lower priority, 0 to 19", "0", false},
    {0, "timeout", "SECONDS", Number, nullptr, kHow, "give up a file that takes longer", nullptr, false},

    {0, "json", nullptr, None, nullptr, kSaid, "tell everything as JSON, an object a line", nullptr, false},
    {0, "quiet", nullptr, None, nullptr, kSaid, "tell failures only", nullptr, true},
    {'v', "verbose", nullptr, None, nullptr, kSaid, "show the module's log lines too", nullptr, true},
    {0, "color", "WHEN", OneOf, "auto always never", kSaid, "colours", "auto", false},
    {'h', "help", nullptr, None, nullptr, kSaid, "show the most common options", nullptr, false},
    {0, "help-all", nullptr, None, nullptr, kSaid, "show all of them", nullptr, true},
    {'V', "version", nullptr, None, nullptr, kSaid, "show the version", nullptr, false},
};

} // namespace

std::span<const OptionRow> optionTable()
{
    return kTable;
}
