#pragma once

#include <QSize>
#include <QString>

#include "host/job/MediaFormat.h"

class QIODevice;

/// What a file is by its content.
struct MediaFacts
{
    MediaKind kind = MediaKind::Unknown;
    MediaFormat format = MediaFormat::None;
    QString name; ///< for people, such as "JPEG XL"; empty for MediaKind::Unknown

    /// How the file shows that it is cut, for people, such as "the image ends before its end-of-image
    /// marker". Empty where it is whole or nothing in it can tell. A video counts as cut when more than 1 %
    /// of the bytes are missing that its container states, or its index.
    QString damage;

    // What the header of an image tells. Formats whose headers are not read leave the defaults.
    QSize size;            ///< pixels, as stored: before any orientation. Empty: not known
    int bitsPerSample = 8; ///< of one colour; less than 8 counts as 8
    bool hasAlpha = false; ///< a channel or a transparent colour, used or not
    bool isAnimated = false;
    bool hasIccProfile = false;
    bool isMarkedSrgb = false; ///< a PNG that says its colours are sRGB
    int orientation = 1;       ///< EXIF's: 1 upright, 2 to 8 turned or mirrored
};

/// Whether the pixels of the result are upright although the source's wait to be turned.
bool isTurnedUpright(const MediaFacts& source, const MediaFacts& result);

/// A warning of what an image had and its result has no more. Pure.
struct ImageLoss
{
    const char* id;   ///< for programs; never changes
    const char* text; ///< for people; %1 stands for the source's bits of a colour
    bool (*isLost)(const MediaFacts& source, const MediaFacts& result);
};

inline constexpr ImageLoss kImageLosses[] = {
    {"animation", "only the first frame of the animation is left",
     [](const auto& source, const auto& result) { return source.isAnimated && !result.isAnimated; }},
    // A PNG that is marked so has had its colours converted.
    {"icc-profile", "the colour profile is lost, colours may look different",
     [](const auto& source, const auto& result) {
         return source.hasIccProfile && !result.hasIccProfile && !result.isMarkedSrgb;
     }},
    {"alpha", "the transparency is lost",
     [](const auto& source, const auto& result) { return source.hasAlpha && !result.hasAlpha; }},
    {"orientation", "the orientation is lost, the image may appear turned",
     [](const auto& source, const auto& result) {
         return source.orientation != 1 && result.orientation == 1 && !isTurnedUpright(source, result);
     }},
    {"bit-depth", "the colours have 8 bits instead of %1",
     [](const auto& source, const auto& result) { return source.bitsPerSample > result.bitsPerSample; }},
};

/// Looks into a file. Reads some kilobytes as a rule and never more than the structure needs: the coded
/// pixels of a JPEG only where its last bytes are not its end. What cannot be read is MediaKind::Unknown. Any
/// thread; never throws.
MediaFacts inspectMedia(const QString& path);
/// The same for a file that is open for reading and can seek. The position is lost.
MediaFacts inspectMedia(QIODevice& file);

/// The suffix, without a dot, of a link through which a video has to reach the module when its own suffix (in
/// any case, without a dot) makes the module take it for another container. Empty when its name is fine.
QString trueSuffix(const MediaFacts& facts, const QString& suffix);
