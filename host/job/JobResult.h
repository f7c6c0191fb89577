#pragma once

#include <QList>
#include <QString>

#include <optional>

#include "host/job/JobSpec.h"

/// Why a job made no result. Data: the words for people are made in output/FailureText.
enum class FailureKind
{
    None,
    // Before anything was begun.
    NoInput,          ///< there is no such file
    NotRegular,       ///< a folder, a pipe, a device
    Unreadable,       ///< `detail`: the system's reason
    Empty,            ///< no byte in it
    NotMedia,         ///< neither image nor video by its content; `detail`: what it is, if known
    UnsupportedKind,  ///< media, but the encoder of the output cannot take it; `detail`: what it is
    BadOption,        ///< an option that does not fit this kind of output; `detail`: the whole sentence
    NoOutputKind,     ///< the output's suffix is none that can be written; `detail`: the suffix
    OutputExists,     ///< and neither --force nor --skip-existing was given
    OutputNotRegular, ///< a folder or a device lies at the output's path
    HardLinks,        ///< the file to be replaced has more than one name
    OwnerWouldChange, ///< the file to be replaced belongs to somebody else
    NoOutputFolder,   ///< `detail`: the system's reason
    FolderUnwritable, ///< nothing can be made beside the output; `detail`: the system's reason
    NameTooLong,
    Animated, ///< only the first frame would survive
    // While it ran.
    EncoderMissing, ///< `detail`: the encoder's name
    LibraryMissing, ///< `detail`: the loader's reason
    EncoderFailed,  ///< `code` and `detail` are the module's
    NoResult,       ///< the encoder ended well and wrote nothing
    SourceChanged,  ///< the source is not the file any more that the job began with
    SourceCut,      ///< the source ends before its end; `detail`: how that shows
    ResultCut,      ///< the result is shorter than its source; `detail`: the lengths
    AimUnreached,   ///< `detail`: what could be reached
    MeasureFailed,  ///< a comparison or a probe failed; `detail`: why
    DeliveryFailed, ///< `detail`: the system's reason
    MetadataFailed, ///< `detail`: why it could not be copied
    TimedOut,       ///< --timeout
    Interrupted,    ///< the user's request
};

/// Whether the failure says that input, output and options cannot be used: nothing was encoded.
inline bool isBeforeBegin(FailureKind kind)
{
    return kind > FailureKind::None && kind < FailureKind::EncoderMissing;
}

struct Failure
{
    FailureKind kind = FailureKind::None;
    QString detail = {};
    int code = 0;            ///< the module's finish code, for EncoderFailed
    QString fullFolder = {}; ///< its disk has less room than the source takes: a likely cause
    qint64 roomThere = 0;    ///< bytes

    explicit operator bool() const { return kind != FailureKind::None; }
};

/// Something that the user sees lost in the result, or a doubt. The text is whole and for people, without the
/// file's name; the id is for programs and never changes.
struct Warning
{
    QString id; ///< such as "icc-profile", "alpha", "animation"
    QString text;
};

/// A size that is known only roughly, in bytes.
struct SizeRange
{
    qint64 low = 0;
    qint64 high = 0;
};

enum class Outcome
{
    Delivered, ///< a smaller file, or a video that may be larger (bytesAfter tells)
    Kept,      ///< the source is as good: a copy of it was delivered, or in place nothing changed
    NotWorth,  ///< another kind would be larger, or save too little: nothing was delivered
    Skipped,   ///< the output existed and was to be skipped
    Predicted, ///< a dry run: bytesAfter is true, nothing was delivered
    Estimated, ///< `estimate` is set, nothing was delivered
    Failed,    ///< `failure` says why
};

/// What came of a job.
struct JobResult
{
    JobSpec spec;
    Outcome outcome = Outcome::Failed;
    Failure failure = {};            ///< none, but for Outcome::Failed
    int runs = 0;                    ///< how often the encoder ran for it
    std::optional<int> quality = {}; ///< the encoder's number of the delivered run, where it was searched
    std::optional<double> ssim = {}; ///< the result against the source, where it was measured
    std::optional<SizeRange> estimate = {};
    QList<Warning> warnings = {};
    qint64 bytesBefore = 0;
    qint64 bytesAfter = 0;
    qint64 bytesMade = 0; ///< by the encoder, also where that was not delivered
    qint64 elapsedMs = 0;
    QString keptAt = {}; ///< a result that could not take its place lies here

    bool isInterrupted() const { return failure.kind == FailureKind::Interrupted; }
};
