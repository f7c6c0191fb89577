#pragma once

#include <QList>
#include <QMap>
#include <QString>

#include <limits>

/// What the streams of many runs say in all. A file counts once, whatever many runs have done to it.
struct Findings
{
    /// Sums end at the largest number: what a stream says need not be true.
    static void add(qint64& sum, qint64 more)
    {
        sum =
            sum > std::numeric_limits<qint64>::max() - more ? std::numeric_limits<qint64>::max() : sum + more;
    }

    struct Kind
    {
        qint64 files = 0; ///< delivered and kept ones
        qint64 bytesBefore = 0;
        qint64 bytesAfter = 0;
        double seconds = 0; ///< of one job after the other
    };
    struct Machine
    {
        qint64 runs = 0;
        qint64 files = 0; ///< worked on by the runs that came to their end
        qint64 bytes = 0; ///< of them, before
        double coreSeconds = 0;

        double filesPerCoreSecond() const { return coreSeconds > 0 ? double(files) / coreSeconds : 0; }
        double bytesPerCoreSecond() const { return coreSeconds > 0 ? double(bytes) / coreSeconds : 0; }
    };
    struct Slow
    {
        QString path;
        double seconds = 0;
        qint64 bytes = 0;
    };
    struct Failed
    {
        QString path;
        QString kind; ///< the stream's word, or "unfinished"
        QString text;
    };

    qint64 runs = 0;
    qint64 runsWithoutEnd = 0;
    qint64 cutLines = 0;     ///< of killed runs
    qint64 foreignLines = 0; ///< no part of a stream
    double spanSeconds = 0;  ///< from the first beginning to the last end that is told

    qint64 files = 0;
    qint64 delivered = 0;
    qint64 kept = 0;
    qint64 skipped = 0; ///< and nothing else told of them
    qint64 predicted = 0;
    qint64 failed = 0;
    qint64 unfinished = 0; ///< a run began them and was killed, and no other told an end
    qint64 bytesBefore = 0;
    qint64 bytesAfter = 0;

    QMap<QString, Kind> kinds; ///< by the output's suffix
    QMap<QString, Machine> machines;
    QList<qint64>
        durations; ///< how many jobs took less than 0.1 s, 0.2 s, 0.4 s and so on; the last one has the rest
    QList<Slow> slowest;      ///< first the slowest
    QList<Failed> failures;   ///< unfinished ones too, in the order of their names
    QList<QString> runErrors; ///< of runs that could not be begun

    static constexpr double kFirstDuration = 0.1;

    Machine allMachines() const
    {
        Machine sum;
        for (const Machine& machine : machines) {
            sum.runs += machine.runs;
            sum.files += machine.files;
            add(sum.bytes, machine.bytes);
            sum.coreSeconds += machine.coreSeconds;
        }
        return sum;
    }
};
