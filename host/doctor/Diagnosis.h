#pragma once

#include <QList>
#include <QString>

/// What the doctor found, as data: no texts for people but those that others wrote.

/// One tiny encode through the module.
struct EncoderTrial
{
    QString kind;      ///< "JPEG", "PNG", "WebP" or "video"
    QString error;     ///< why there was none; empty: the result is a file of this kind
    qint64 before = 0; ///< bytes
    qint64 after = 0;  ///< bytes
    qint64 elapsedMs = 0;
};

enum class EncoderFault
{
    None,
    Missing,
    NotRunning,  ///< it is there and does not start, or does not end
    ReadsNoJpeg, ///< cJpeg alone: it is a cjpeg of another kind
    TrialFailed,
    NotTried ///< for the lack of the module or of a temporary place
};

struct EncoderState
{
    QString name;             ///< "cJpeg"
    QString path;             ///< where the module looks for it
    QString target;           ///< what lies there, links resolved
    QString version;          ///< its own words; empty when it said none
    QString elsewhere;        ///< when it is missing: a program of this name on the search path
    QString elsewhereVersion; ///< what that one calls itself
    EncoderFault fault = EncoderFault::NotTried;
    QString detail; ///< what an encoder or the system said of the fault
    QList<EncoderTrial> trials;
};

struct ModuleState
{
    QString path;    ///< the loaded file, links resolved; empty when none could be loaded
    QString version; ///< empty where file names tell none
    QString ffmpeg;  ///< the release of FFmpeg's libraries in it; empty when they don't tell
    QString error;   ///< why it did not load
};

struct TemporaryPlace
{
    QString path;
    QString error; ///< why nothing can be written there
    qint64 freeBytes = -1;
};

struct TerminalState
{
    bool isTerminal = false; ///< standard error
    int columns = 0;         ///< 0 when unknown
    bool hasColour = false;  ///< it has some and the user does not decline them
    bool isUtf8 = false;
};

struct Diagnosis
{
    QString version; ///< of the host
    QString qtVersion;
    ModuleState module;
    QList<EncoderState> encoders;
    TemporaryPlace temporary;
    TerminalState terminal;
    int interrupt = 0; ///< the signal that ended the examination early

    /// The program's exit status.
    int exitStatus() const;
};
