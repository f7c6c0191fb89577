#pragma once

#include <QList>
#include <QString>

#include "host/media/FilmFacts.h"
#include "host/media/SourceFacts.h"

/// Which encoder makes an output.
enum class OutputKind
{
    Jpeg,
    Png,
    WebP,
    Film
};

/// Something of the source that its result has no more.
struct Loss
{
    QString id;   ///< for programs; never changes
    QString text; ///< for people, without the file's name
};

/// Why a job cannot or should not be begun.
struct Obstacle
{
    enum Kind
    {
        None,
        Unsupported, ///< the output's encoder cannot read such a source
        FirstFrame   ///< all but the first frame would be lost: the user has to ask for that
    };

    Kind kind = None;
    QString text; ///< for people; empty for None
};

/// What is in the way of making an output of this kind. For MediaKind::Picture and MediaKind::Film. Pure.
Obstacle obstacleFor(const SourceFacts& source, OutputKind output);

/// What a picture has lost on its way: both as inspectSource() sees them, the result as it will be delivered,
/// so that copied metadata and a kept source count. Ids: "icc-profile", "alpha", "orientation", "bit-depth",
/// "animation". Pure.
QList<Loss> pictureLosses(const SourceFacts& source, const SourceFacts& result);

/// The same for a film. Ids: "hdr", "bit-depth", "audio-channels", "alpha", "audio-tracks", "subtitles",
/// "cover". Pure.
QList<Loss> filmLosses(const FilmFacts& source, const FilmFacts& result);

/// Whether the pixels of the result are upright although the source's wait to be turned.
bool isTurnedUpright(const SourceFacts& source, const SourceFacts& result);
