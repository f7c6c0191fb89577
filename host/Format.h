#pragma once

#include <QString>

/// What the suffix of an output's name stands for.
struct Format
{
    const char* suffix;     ///< lower case, without a dot; null for video, which is every other suffix
    const char* name;       ///< for people
    const char* encoder;    ///< the encoder's bare file name
    int maxQuality;         ///< qualities start at 0
    int defaultQuality;     ///< when the user gives none
    const char* unreadable; ///< what to say of an input that the encoder takes for corrupt

    bool isVideo() const { return !suffix; }
};

const Format& formatOf(const QString& outputPath);
