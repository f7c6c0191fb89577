#pragma once

#include <QString>
#include <QStringList>

#include <span>

#include "host/job/MediaFormat.h"

/// What an exit code of an encoder means, where that is more than "failed".
struct ExitCode
{
    int code;
    const char* text; ///< %1 the input, %2 the encoder; with the remedy
};

/// A program that encodes. It lies beside the host.
struct Encoder
{
    const char* file;           ///< its bare name; Windows adds .exe
    const char* versionOption;  ///< makes it print its version
    const char* versionPattern; ///< a regular expression for that; the first group is the version
    const char* systemName;     ///< what systems that have it call it
    const char* remedy;         ///< what to do where it is missing
    std::span<const ExitCode> exitCodes;
};

/// The numbers that an encoder takes for its quality.
struct QualityScale
{
    int worst;
    int best;     ///< may be the smaller number
    int fallback; ///< when the user gives none

    int highest() const { return worst > best ? worst : best; }
    bool moreIsBetter() const { return best > worst; }
};

/// A kind of output: one row for all that the host knows of it.
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
    const char* name; ///< for people
    const Encoder* encoder;
    std::span<const char* const> suffixes; ///< in the order in which people are told of them
    const char* magic;                     ///< how its files begin, a blank for any byte; empty: in many ways
    QualityScale quality;
    std::span<const MediaFormat> reads; ///< what its encoder reads; empty: whatever ffmpeg reads
    const char* readsText;              ///< the same for people; empty where there is nothing to say
    bool keepsAnimation;                ///< of sources that move
    const char* coder;                  ///< what a build of the encoder may lack; empty: nothing
    const char* trialSuffix;            ///< of a source by which an installation is tried

    bool isVideo() const { return kind == Video; }
};

namespace Formats {

/// All of them, images first.
std::span<const Format> all();
/// The encoders, each once.
std::span<const Encoder* const> encoders();

/// What an output with this suffix (in any case, without a dot) is; null when nothing can be written under
/// it. `anyContainer`: a suffix that no table knows is taken for a video container.
const Format* ofSuffix(const QString& suffix, bool anyContainer = false);

/// The suffixes that images or videos can have as outputs, in the order in which they are told to people.
QStringList suffixes(MediaKind kind);

/// What an input's suffix speaks for, also of a kind that is only read: an image, a video, or neither. Walked
/// folders give such files; what a file really is, its content says.
MediaKind kindOfName(const QString& suffix);

/// Whether the file begins as one of this format does. True for every video, whose containers are many, and
/// for what cannot be read.
bool looksLike(const Format& format, const QString& path);

} // namespace Formats
