#pragma once

#include <QString>

/// A size that is known only roughly, in bytes.
struct SizeRange
{
    qint64 low;
    qint64 high;
};

/// The size of a whole film by the size of its encoded beginning. The beginning counts as it is; the rest may
/// be easier or harder to encode, unless the bitrate is fixed (`isPercentage`). Both lengths in milliseconds,
/// above 0.
SizeRange predictSize(qint64 sampleBytes, qint64 sampleMs, qint64 wholeMs, bool isPercentage);

/// What that would make of `before` bytes: "saves 63 to 75 %", "5 to 20 % larger", "from 10 % smaller to 5 %
/// larger".
QString savingRangeText(qint64 before, SizeRange after);
