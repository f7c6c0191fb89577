#pragma once

#include <QDateTime>
#include <QHash>

#include "host/report/Findings.h"

/// Adds up the lines of `vxcompress --json` of many runs, in any order of the runs. A run that was killed
/// ends with any byte: its last line may be cut, and the next run's first one may follow in the same line.
///
/// A file is known by its path as the streams have it, and the best that any run says of it holds: that it
/// was delivered or kept, then that its output was there, then that it failed.
class StreamTally
{
public:
    /// False for a line that is no part of a stream.
    bool addLine(const QByteArray& line);
    /// No more lines come from the same place.
    void endStream();

    Findings findings() const;

private:
    struct Run
    {
        QString host;
        QDateTime began;
        qint64 cores = 1;
        qint64 files = 0;
        qint64 bytes = 0;
    };

    bool add(const QJsonObject& object);
    void addRun(const QJsonObject& object);
    void addEnd(const QJsonObject& object);
    void addError(const QJsonObject& object);
    void addSummary(const QJsonObject& object);
    void note(const QJsonObject& object, const Findings::File& file);
    static void countDone(Findings& sum, const Findings::File& file);

    QHash<QString, Findings::File> mFiles; ///< by the path
    Findings mSum;                         ///< what is counted by lines and runs
    std::optional<Run> mRun;               ///< the one whose lines come now
    QDateTime mFirst;
    QDateTime mLast;
};
