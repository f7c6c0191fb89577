#pragma once

#include <QString>
#include <QStringList>

/// A kind of output: what its encoder is, and what its numbers mean.
struct Format
{
    enum Kind
    {
        Jpeg,
        Png,
        WebP,
        Video
    };

    Kind kind;
    const char* name;    ///< for people
    const char* encoder; ///< the encoder's bare file name
    int maxQuality;      ///< qualities start at 0
    int defaultQuality;  ///< when the user gives none
    bool moreIsBetter;   ///< of two qualities the higher one is nearer to the source

    bool isVideo() const { return kind == Video; }
};

namespace Formats {

/// What an output with this suffix (in any case, without a dot) is; null when nothing can be written under
/// it. `anyContainer`: a suffix that no table knows is taken for a video container.
const Format* ofSuffix(const QString& suffix, bool anyContainer = false);

/// The suffixes that outputs can have, in the order in which they are told to people.
const QStringList& imageSuffixes();
const QStringList& videoSuffixes();

/// Whether an input's suffix speaks for an image or a video, also of a kind that is only read. Walked folders
/// give such files; what a file really is, its content says.
bool isImageName(const QString& suffix);
bool isVideoName(const QString& suffix);

/// Whether the file begins as one of this format does. True for every video, whose containers are many, and
/// for what cannot be read.
bool looksLike(const Format& format, const QString& path);

} // namespace Formats
