#pragma once

#include <QList>

#include "host/job/JobResult.h"

/// One stretch of the source and what became of it.
struct SampleMeasure
{
    qint64 sourceBytes; ///< of the piece that was cut; 0 for the video's beginning, which isn't
    qint64 sourceMs;
    qint64 resultBytes;
    qint64 resultMs; ///< above 0
};

/// The video as a whole.
struct WholeVideo
{
    qint64 sourceBytes;
    qint64 ms;          ///< above 0
    int soundCount = 1; ///< pieces and samples hold one at most
};

/// What the samples tell of the whole's size. `isPercentage`: the bitrate is fixed, and varies little. At
/// least one sample; with one alone, which is the video's beginning, the rest may well be easier or harder.
SizeRange estimateRange(const QList<SampleMeasure>& samples, const WholeVideo& whole, bool isPercentage);

/// The module makes a bitrate of a percentage by the size and length of its input: the percentage for a piece
/// that makes the whole's bitrate.
double piecePercentage(double percentage, const WholeVideo& whole, qint64 pieceBytes, qint64 pieceMs);
