#pragma once

#include <QString>

#include <optional>

/// One of several equal parts of a plan, for machines that share the work. A file's part depends on its name
/// alone: more files, and more folders, move no other file. What differs only in suffix and case lies in one
/// part, so that outputs that would collide meet in one run, and are found there.
class Shard
{
public:
    /// The whole plan.
    Shard() = default;

    /// "3/16": the third of sixteen parts. None for anything else.
    static std::optional<Shard> parse(const QString& text);

    bool isWhole() const { return mCount == 1; }
    QString text() const { return QString::number(mNumber) + u'/' + QString::number(mCount); }

    /// Whether a file of this name, folders included, in the text form of NativePath, is in the part. The
    /// first eight bytes of the SHA-1 of the name, without suffix and with small letters for A to Z, are a
    /// number, the highest byte first; modulo the count of parts it gives the part, from 0. It stays so from
    /// version to version: machines of one run may have several.
    bool holds(const QString& name) const;

private:
    Shard(int number, int count) : mNumber(number), mCount(count) {}

    int mNumber = 1;
    int mCount = 1;
};
