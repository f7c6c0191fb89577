#pragma once

#include <QByteArray>
#include <QFileInfoList>
#include <QList>
#include <QStringList>
#include <QTemporaryDir>

/// What the fake encoders do for as long as this object lives, and what they did. One at a time.
class FakeEncoder
{
public:
    struct Run
    {
        qint64 processId;
        QString tool; ///< the program's file name
        QStringList arguments;
    };

    /// Encoders write half the source's size and exit with 0, until told otherwise.
    FakeEncoder();
    ~FakeEncoder();
    Q_DISABLE_COPY_MOVE(FakeEncoder)

    /// Sets one of the variables that fake_encoder.cpp lists, for encoders started from now on. Chainable.
    FakeEncoder& set(const char* variable, const QByteArray& value);
    FakeEncoder& exitWith(int code) { return set("FAKE_EXIT", QByteArray::number(code)); }
    FakeEncoder& crash() { return set("FAKE_END", "crash"); }
    FakeEncoder& hang() { return set("FAKE_END", "hang"); }
    FakeEncoder& write(const QByteArray& size) { return set("FAKE_OUTPUT", size); }
    FakeEncoder& delay(int milliseconds) { return set("FAKE_DELAY_MS", QByteArray::number(milliseconds)); }
    FakeEncoder& progress(const QByteArray& script) { return set("FAKE_PROGRESS", script); }
    /// Back to the beginning; what was recorded stays.
    void reset();

    /// All encoders that came to life, the oldest first.
    QList<Run> runs() const;
    /// How many of them have written all that they would: those that hang are hanging now.
    int writtenCount() const { return static_cast<int>(records("*.written").size()); }
    /// Whether none of them is alive. A killed process takes a moment: QTRY_VERIFY.
    bool allGone() const;

private:
    QFileInfoList records(const char* pattern) const;

    QTemporaryDir mRecords;
    QList<QByteArray> mVariables;
};
