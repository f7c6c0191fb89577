#include "host/search/EstimateRange.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace {

// With one sample: the rest's bytes a second against the sample's. At a constant quality the bitrate follows
// the image.
constexpr double kRestLow = 0.75;
constexpr double kRestHigh = 1.33;
constexpr double kFixedLow = 0.95;
constexpr double kFixedHigh = 1.05;
// What was encoded will be so again, but for another number of threads.
constexpr double kSeenLow = 0.99;
constexpr double kSeenHigh = 1.01;

// Several samples: how many standard errors the whole may lie away from what they say, more for a line than
// for a mean, since it takes more from the same samples; and what lengths, containers and key frames may add
// besides.
constexpr double kErrorsOfMean = 2.0;
constexpr double kErrorsOfLine = 2.5;
constexpr double kBesides = 0.05;

// Bytes a millisecond of the sounds that samples leave out: encoders give each 128 to 192 kbit/s.
constexpr double kSoundLow = 16;
constexpr double kSoundHigh = 24;

/// In bytes a millisecond.
struct Estimate
{
    double rate;
    double error;
};

double mean(const QList<double>& values)
{
    double sum = 0;
    for (const double value : values)
        sum += value;
    return sum / double(values.size());
}

/// The samples as pairs of rates, before and after, and what estimates from them have in common.
class Rates
{
public:
    Rates(const QList<SampleMeasure>& samples, const WholeVideo& whole)
        : mWholeBefore(double(whole.sourceBytes) / double(whole.ms))
    {
        double encodedMs = 0;
        for (const SampleMeasure& sample : samples) {
            mBefore.append(double(sample.sourceBytes) / double(std::max<qint64>(sample.sourceMs, 1)));
            mAfter.append(double(sample.resultBytes) / double(sample.resultMs));
            encodedMs += double(sample.resultMs);
        }
        mUnseen = std::max(1 - encodedMs / double(whole.ms), 0.0);
        mMeanBefore = mean(mBefore);
        mMeanAfter = mean(mAfter);
    }

    /// Every second of the video becomes as large as the samples' do.
    Estimate bySecond() const
    {
        return {mMeanAfter,
                kErrorsOfMean * std::sqrt(variance(mMeanAfter, 0, count() - 1) * mUnseen / count())};
    }

    /// Every byte of the video becomes as many bytes as the samples' do.
    Estimate byByte() const
    {
        const double ratio = mMeanAfter / mMeanBefore;
        const double error = std::sqrt(variance(0, ratio, count() - 1) * mUnseen / count());
        return {ratio * mWholeBefore, kErrorsOfMean * error * mWholeBefore / mMeanBefore};
    }

    /// Something for every second, such as the sound, and something for every byte: the line through the
    /// samples.
    Estimate byBoth() const
    {
        double squares = 0;
        double products = 0;
        for (qsizetype i = 0; i < mBefore.size(); ++i) {
            squares += (mBefore[i] - mMeanBefore) * (mBefore[i] - mMeanBefore);
            products += (mBefore[i] - mMeanBefore) * (mAfter[i] - mMeanAfter);
        }
        const double slope = products / squares;
        const double base = mMeanAfter - slope * mMeanBefore;
        const double distance = mWholeBefore - mMeanBefore;
        const double spread = variance(base, slope, count() - 2);
        return {base + slope * mWholeBefore,
                kErrorsOfLine * std::sqrt(spread * (mUnseen / count() + distance * distance / squares))};
    }

private:
    double count() const { return double(mAfter.size()); }

    // How far samples lie from base + slope * before. By the steps from each to the next: they lie in the
    // video's order, a stretch of it each, and a video that changes slowly is known better than their spread
    // would say.
    double variance(double base, double slope, double freedom) const
    {
        double squares = 0;
        for (qsizetype i = 1; i < mAfter.size(); ++i) {
            const auto residual = [&](qsizetype at) { return mAfter[at] - base - slope * mBefore[at]; };
            squares += std::pow(residual(i) - residual(i - 1), 2);
        }
        return squares / 2 / freedom;
    }

    QList<double> mBefore;
    QList<double> mAfter;
    double mWholeBefore;
    double mUnseen; // the share of the video that no sample has seen; what was encoded is no guess
    double mMeanBefore;
    double mMeanAfter;
};

SizeRange fromSamples(const QList<SampleMeasure>& samples, const WholeVideo& whole)
{
    const Rates rates(samples, whole);
    Estimate best = rates.bySecond();
    // Pieces have one sound: with more, the whole's bytes cannot be compared with theirs.
    if (whole.soundCount <= 1) {
        for (const Estimate& other : {rates.byByte(), rates.byBoth()}) {
            if (samples.size() > 2 && std::isfinite(other.error) && other.rate > 0 &&
                other.error < best.error)
                best = other;
        }
    }
    const double span = best.error + kBesides * best.rate;
    return {qRound64(std::max(best.rate - span, 0.0) * double(whole.ms)),
            qRound64((best.rate + span) * double(whole.ms))};
}

SizeRange fromBeginning(const SampleMeasure& sample, const WholeVideo& whole, bool isPercentage)
{
    const auto restMs = double(std::max<qint64>(whole.ms - sample.resultMs, 0));
    const auto seenBytes = double(sample.resultBytes);
    const double restBytes = seenBytes * restMs / double(sample.resultMs);
    return {qRound64(seenBytes * kSeenLow + restBytes * (isPercentage ? kFixedLow : kRestLow)),
            qRound64(seenBytes * kSeenHigh + restBytes * (isPercentage ? kFixedHigh : kRestHigh))};
}

} // namespace

SizeRange estimateRange(const QList<SampleMeasure>& samples, const WholeVideo& whole, bool isPercentage)
{
    const SizeRange range = samples.size() < 2 ? fromBeginning(samples.first(), whole, isPercentage)
                                               : fromSamples(samples, whole);
    const auto soundMs = double(whole.ms) * std::max(whole.soundCount - 1, 0);
    return {range.low + qRound64(soundMs * kSoundLow), range.high + qRound64(soundMs * kSoundHigh)};
}

double piecePercentage(double percentage, const WholeVideo& whole, qint64 pieceBytes, qint64 pieceMs)
{
    const double wholeRate = double(whole.sourceBytes) / double(whole.ms);
    return percentage * wholeRate / (double(pieceBytes) / double(pieceMs));
}
