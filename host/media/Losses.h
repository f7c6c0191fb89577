#pragma once

#include <QList>
#include <QString>

#include "host/job/Format.h"
#include "host/media/SourceFacts.h"
#include "host/media/VideoFacts.h"

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

/// What is in the way of making an output of this kind. For MediaKind::Image and MediaKind::Video. Pure.
Obstacle obstacleFor(const SourceFacts& source, const Format& output);

/// What an image has lost on its way: both as inspectSource() sees them, the result as it will be delivered,
/// so that copied metadata and a kept source count. Ids: "icc-profile", "alpha", "orientation", "bit-depth",
/// "animation". Pure.
QList<Loss> imageLosses(const SourceFacts& source, const SourceFacts& result);

/// The same for a video. Ids: "hdr", "bit-depth", "audio-channels", "alpha", "audio-tracks", "subtitles",
/// "cover". Pure.
QList<Loss> videoLosses(const VideoFacts& source, const VideoFacts& result);

/// Whether the pixels of the result are upright although the source's wait to be turned.
bool isTurnedUpright(const SourceFacts& source, const SourceFacts& result);
