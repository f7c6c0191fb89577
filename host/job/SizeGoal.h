#pragma once

#include <QString>

#include <optional>

/// A size that a user requests a result to have: at most this, and where the kind of file allows it not much
/// less.
class SizeGoal
{
public:
    /// "40%" of the source, "8MB", "8MiB", "800 kB", "1.5 GB", plain bytes as in "250000"; units in any case,
    /// with a point for decimals. None for anything else, for less than a byte and for more than 100 %.
    static std::optional<SizeGoal> parse(const QString& text);

    static SizeGoal ofBytes(qint64 bytes) { return SizeGoal(double(bytes), false); }

    /// In bytes; never more than the source has.
    qint64 bytesFor(qint64 sourceBytes) const;

    /// Below this share of the goal a result counts as too small, and a better one is looked for.
    static constexpr double kLowestShare = 0.95;
    /// What searches aim at, so that a miss to either side still fits.
    static constexpr double kAimedShare = 0.975;

private:
    SizeGoal(double amount, bool isPercent) : mAmount(amount), mIsPercent(isPercent) {}

    double mAmount;
    bool mIsPercent;
};
