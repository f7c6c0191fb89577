#pragma once

#include <QString>
#include <QStringList>

#include <optional>

#include "host/job/Format.h"
#include "host/job/Shard.h"
#include "host/job/SizeGoal.h"

enum class ColorMode
{
    Auto,
    Always,
    Never
};

/// What the user asks for on the command line. All texts of files are in the text form of NativePath.
struct Options
{
    // What goes in, and where it goes.
    QStringList inputs;
    QString output; ///< --output, or the second name of the short form; empty for --suffix and --in-place
    bool isShortForm = false; ///< INPUT OUTPUT: the output is a file
    bool recursive = false;
    QString filesFrom; ///< "-": standard input; empty: none
    bool nullSeparated = false;
    Shard shard;         ///< of all inputs
    QStringList formats; ///< --format: suffixes, at most one for images and one for videos
    QString suffix;      ///< put between name and dot
    bool inPlace = false;
    bool skipExisting = false;
    bool force = false;
    bool anyContainer = false; ///< --container: other video containers than the supported ones, too

    // How it is made.
    std::optional<int> quality;
    std::optional<SizeGoal> size;
    std::optional<double> minSsim;
    QString scale;         ///< "1", "2" or "4"; empty leaves the image's size alone
    double minSavings = 0; ///< percent
    bool allowLarger = false;
    bool firstFrame = false;
    bool keepDamaged = false;
    bool keepMetadata = false;
    bool keepDates = false;
    bool breakLinks = false;
    bool estimate = false;
    bool dryRun = false;

    // How it runs.
    int jobs = 0; ///< 0: as many as the cores have room for
    int nice = 0;
    int timeoutSecs = 0; ///< of one job; 0: none

    // What is said.
    bool quiet = false;
    bool verbose = false;
    bool json = false;
    ColorMode color = ColorMode::Auto;

    /// Nothing is to be delivered.
    bool deliversNothing() const { return estimate || dryRun; }
};

/// What `vxcompress report` is asked for.
struct ReportOptions
{
    QStringList files; ///< "-": standard input
    QString html;      ///< the page to be written; empty: none
    bool json = false;
};

/// What `vxcompress doctor` is asked for.
struct DoctorOptions
{
    bool json = false;
    bool quiet = false; ///< only what is wrong
};

/// The quality for an output of this format: the user's, or the format's default.
inline int qualityFor(const Options& options, const Format& format)
{
    return options.quality.value_or(format.quality.fallback);
}
