#pragma once

#include <QSize>

/// What the header of an image tells. Formats whose headers are not read leave the defaults.
struct ImageFacts
{
    QSize size;            ///< pixels, as stored: before any orientation. Empty: not known
    int bitsPerSample = 8; ///< of one colour; less than 8 counts as 8
    bool hasAlpha = false; ///< a channel or a transparent colour, used or not
    bool isAnimated = false;
    bool hasIccProfile = false;
    bool isMarkedSrgb = false; ///< a PNG that says its colours are sRGB
    bool hasExif = false;
    int orientation = 1; ///< EXIF's: 1 upright, 2 to 8 turned or mirrored
};
