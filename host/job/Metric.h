#pragma once

/// A quality metric, of a result against its source: one row for all that the host knows of it. More is
/// better.
struct Metric
{
    const char* name;   ///< for people
    double best;        ///< of a result that is the source, image by image
    double doubtful;    ///< below this, images may have been compared with other moments' images
    const char* filter; ///< ffmpeg's, of two inputs; it writes a line for each image to standard output
    const char* field;  ///< what stands before the value in such a line
};

inline constexpr Metric kSsim{"SSIM", 1.0, 0.9, "ssim=stats_file=-", "All:"};

/// A value that is asked for at least, or that was measured.
struct Score
{
    const Metric* metric;
    double value;
};
