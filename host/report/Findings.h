#pragma once

#include <QList>
#include <QMap>
#include <QString>

#include <array>
#include <limits>
#include <numeric>

#include "host/output/Json.h"

/// What came of a file in all runs; the best comes last, and holds.
enum class FileEnd : quint8
{
    Unfinished, ///< a run began it and was killed
    Failed,
    Skipped, ///< and nothing else is said of it
    Predicted,
    Kept,
    Delivered
};
inline constexpr Json::Word kFileEnds[] = {Json::Word("unfinished"), Json::kFailed, Json::kSkipped,
                                           Json::kPredicted,         Json::kKept,   Json::kDelivered};

/// What the streams of many runs say in all. A file counts once, whatever many runs have done to it.
struct Findings
{
    /// Sums end at the largest number: what a stream says need not be true.
    static void add(qint64& sum, qint64 more)
    {
        constexpr qint64 kMost = std::numeric_limits<qint64>::max();
        sum = sum > kMost - more ? kMost : sum + more;
    }

    struct Kind
    {
        qint64 files = 0; ///< delivered and kept ones
        qint64 bytesBefore = 0;
        qint64 bytesAfter = 0;
        qint64 ms = 0; ///< of one job after the other
    };
    struct Machine
    {
        qint64 runs = 0;
        qint64 files = 0; ///< worked on by the runs that came to their end
        qint64 bytes = 0; ///< of them, before
        qint64 coreMs = 0;

        double perCoreSecond(qint64 amount) const
        {
            return coreMs > 0 ? double(amount) / Json::seconds(coreMs) : 0;
        }
    };
    struct File
    {
        QString path = {};
        qint64 before = 0; ///< bytes
        qint64 after = 0;
        qint64 ms = 0;
        QString kind = {}; ///< the output's suffix; of a failure the stream's word, or "unfinished"
        QString text = {}; ///< of a failure
        FileEnd end = FileEnd::Unfinished;
    };

    qint64 runs = 0;
    qint64 runsWithoutEnd = 0;
    qint64 cutLines = 0;     ///< of killed runs
    qint64 foreignLines = 0; ///< no part of a stream
    qint64 spanMs = 0;       ///< from the first beginning to the last end that is known

    std::array<qint64, std::size(kFileEnds)> ends{}; ///< how many files, by FileEnd
    qint64 bytesBefore = 0;                          ///< of delivered and kept files
    qint64 bytesAfter = 0;

    QMap<QString, Kind> kinds; ///< by the output's suffix
    QMap<QString, Machine> machines;
    Machine all;              ///< they together, but for its runs
    QList<qint64> durations;  ///< files that took less than 0.1 s, 0.2 s, 0.4 s and so on; then the rest
    QList<File> slowest;      ///< first the slowest
    QList<File> failures;     ///< unfinished ones too, in the order of their names
    QList<QString> runErrors; ///< of runs that could not be begun

    static constexpr qint64 kFirstDurationMs = 100;

    qint64 files() const { return std::accumulate(ends.begin(), ends.end(), qint64(0)); }
};
