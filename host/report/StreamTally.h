#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QJsonObject>
#include <QStringList>

#include "host/report/Findings.h"

/// Adds up the lines of `vxcompress --json` of many runs, in any order of the runs. A run that was killed ends with any
/// byte: its last line may be cut, and the next run's first one may follow in the same line.
///
/// A file is known by its path as the streams tell it, and the best that any run says of it holds: that it was
/// delivered or kept, then that its output was there, then that it failed.
class StreamTally
{
public:
    /// False for a line that is no part of a stream.
    bool addLine(const QByteArray& line);
    /// No more lines come from the same place.
    void endStream();

    Findings findings() const;

private:
    enum class End : quint8
    {
        Unfinished,
        Failed,
        Skipped,
        Predicted,
        Kept,
        NotWorth,
        Delivered
    };
    struct Record
    {
        qint64 before = 0;
        qint64 after = 0;
        float seconds = 0;
        quint16 kind = 0; ///< its place in mKinds
        End end = End::Unfinished;
    };
    struct Fault
    {
        QString kind;
        QString text;
    };
    struct Run
    {
        QString host;
        QDateTime began;
        int cores = 1;
        qint64 files = 0;
        qint64 bytes = 0;
    };

    static QByteArray keyOf(const QJsonObject& object);
    static QString nameOf(const QByteArray& key);
    bool add(const QJsonObject& object);
    void begin(const QJsonObject& object);
    void addEnd(const QJsonObject& object);
    void addError(const QJsonObject& object);
    void addSummary(const QJsonObject& object);
    quint16 kindOf(const QJsonObject& object);
    void note(const QByteArray& key, const Record& record);
    static void countFile(Findings& sum, const Record& record, const QStringList& kinds);
    void listFiles(Findings& sum) const;

    QHash<QByteArray, Record> mFiles;
    QHash<QByteArray, Fault> mFaults;
    QStringList mKinds;
    Findings mSum; ///< what is counted by lines and runs
    bool mIsOpen = false;
    Run mRun;
    QDateTime mFirst;
    QDateTime mLast;
};
