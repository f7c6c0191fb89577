#pragma once

#include <QList>

/// One stretch of the source and what became of it.
struct SampleMeasure
{
    qint64
        sourceBytes; ///< of the piece that was cut; 0: not known, as for the video's beginning, which isn't
                     ///< cut
    qint64 sourceMs;
    qint64 resultBytes;
    qint64 resultMs; ///< above 0
};

/// A size that is known only roughly, in bytes.
struct EstimatedSize
{
    qint64 low;
    qint64 high;
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
EstimatedSize estimateRange(const QList<SampleMeasure>& samples, const WholeVideo& whole, bool isPercentage);
