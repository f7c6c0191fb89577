#pragma once

#include "host/job/Format.h"
#include "host/job/JobResult.h"
#include "host/media/MediaFacts.h"

/// What is in the way of making an output of this kind of the source. `firstFrame`: the user takes that alone
/// of what moves. Pure.
Failure unfitFor(const MediaFacts& source, const Format& output, bool firstFrame);

/// What an image has lost on its way: both as inspectMedia() sees them, the result as it will be delivered,
/// so that copied metadata and a kept source count. Pure.
QList<Warning> imageLosses(const MediaFacts& source, const MediaFacts& result);
