#pragma once

#include <QEventLoop>
#include <QJsonObject>
#include <QStringList>

#include "host/module/TaskThread.h"
#include "host/system/Platform.h"

class PrivateFolder;
struct Encoder;
struct Format;

/// What was found of one thing.
struct Finding
{
    enum State
    {
        Ok,
        Bad,
        Note,
        NotTried,
        Plain ///< there is nothing to judge
    };

    QString label;
    State state = Plain;
    QStringList lines; ///< for people; after the first one what is to be done, or more of it
    QJsonObject facts; ///< for programs

    /// Says what an encoder is like, in place of what was said of it before.
    void judge(State newState, const QString& fault, const QString& detail, const QString& line);
};

/// Examines encoders: where they are, what they call themselves, and what comes of a tiny encode of every
/// kind by the module's own tasks. Runs an event loop; an interrupt ends a trial early, and every later one.
class EncoderExam
{
public:
    /// The trials' files are made in the folder.
    explicit EncoderExam(PrivateFolder& folder) : mFolder(folder), mInterrupts([this] { mLoop.quit(); }) {}

    /// Without an exam, for the lack of the module or of a temporary place, nothing is tried.
    static Finding examine(const Encoder& encoder, EncoderExam* exam);

private:
    struct Trial
    {
        QString error; ///< why there was none; empty: the result is a file of this format
        bool hasSource = false;
        qint64 before = 0; ///< bytes
        qint64 after = 0;  ///< bytes
        qint64 elapsedMs = 0;
    };
    void tryFormats(const Encoder& encoder, const QString& program, Finding& finding);
    Trial tryFormat(const Format& format, const QString& program);
    QString encode(const QString& source, const QString& output, int quality);

    PrivateFolder& mFolder;
    QEventLoop mLoop;
    const Platform::Interrupts mInterrupts;
    TaskThread mTasks;
};
