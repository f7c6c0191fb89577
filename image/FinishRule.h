#pragma once

#include <QLatin1String>

/// How a run is judged: exit code and sizes in, finish code, text and delivery out.

enum class TaskKind
{
    Jpeg,
    Png,
    Webp,
    Video
};

struct EncoderRun
{
    int exitCode;
    bool endedWhole;        ///< the encoder came to its own end: neither crashed nor stopped
    qint64 sourceBytes = 0; ///< 0 when there is no file; of no account for video
    qint64 resultBytes = 0; ///< 0 when there is no file; of no account for video
};

struct Verdict
{
    enum Delivery
    {
        Nothing, ///< the result is removed
        Result,
        Source ///< a copy of the source goes out in the result's place
    };

    int finishCode;
    QLatin1String text;
    Delivery delivery;
    bool logged = true;
};

Verdict judge(TaskKind kind, const EncoderRun& run);

/// The verdict for a result or a source that could not be delivered.
Verdict undelivered(TaskKind kind);
