#pragma once

#include <QString>

#include "host/media/VideoFacts.h"

struct LengthVerdict
{
    enum Kind
    {
        Whole,
        Doubtful, ///< to be warned of: the lengths differ, but the source's proves nothing
        Cut       ///< not to be delivered over anything
    };

    Kind kind = Whole;
    QString text; ///< for people, with both lengths; empty for Whole
};

/// Whether a result is as long as its source, within 0.5 s or 1 %, whichever is more. Pure.
LengthVerdict lengthVerdict(const VideoFacts& source, const VideoFacts& result);
