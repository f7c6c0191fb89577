#include <QCoreApplication>

#include "compressor/FinishCode.h"
#include "host/job/Format.h"
#include "host/media/SuffixHint.h"
#include "host/output/Figures.h"
#include "host/output/ResultText.h"
#include "host/system/NativePath.h"
#include "host/system/PathText.h"

using namespace Qt::StringLiterals;

namespace {

// %1 the input, %2 the output, %3 the detail, %4 the encoder, %5 the output's folder.
struct FailureRow
{
    FailureKind kind;
    const char* id;
    const char* text;
};

constexpr FailureRow kRows[] = {
    {FailureKind::NoInput, "no-input", "there is no file %1"},
    {FailureKind::NotRegular, "not-regular", "%1 is not a regular file%3"},
    {FailureKind::Unreadable, "unreadable", "cannot read %1: %3"},
    {FailureKind::Empty, "empty", "%1 is empty"},
    {FailureKind::NotMedia, "not-media", "%1 is neither an image nor a video%3"},
    {FailureKind::UnsupportedKind, "unsupported-kind", "%1 cannot be converted to %2: it is %3"},
    {FailureKind::BadOption, "bad-option", "%3"},
    {FailureKind::NoOutputKind, "no-output-kind", "%2: %3"},
    {FailureKind::OutputExists, "output-exists", "%2 already exists; use --force to replace it"},
    {FailureKind::OutputNotRegular, "output-not-regular", "%2 is not a regular file"},
    {FailureKind::HardLinks, "hard-links",
     "%2 has %3 names (hard links), and replacing it would separate them; use --break-links to allow that"},
    {FailureKind::OwnerWouldChange, "owner-would-change",
     "%2 belongs to another user, and replacing it would change its owner; give another output"},
    {FailureKind::NoOutputFolder, "no-output-folder", "there is no folder %5 for the output: %3"},
    {FailureKind::FolderUnwritable, "folder-unwritable", "cannot write to the folder of %2: %3"},
    {FailureKind::NameTooLong, "name-too-long", "the name %2 is too long for the file system of its folder"},
    {FailureKind::Animated, "animated",
     "%1 is animated, and only its first frame would be left; use --first-frame to allow that"},
    {FailureKind::EncoderMissing, "encoder-missing",
     "the encoder %3 is missing in %6; run vxcompress doctor to see what to do"},
    {FailureKind::LibraryMissing, "library-missing",
     "the module cannot be loaded: %3; run vxcompress doctor to see what to do"},
    {FailureKind::EncoderFailed, "encoder-failed", nullptr},
    {FailureKind::NoResult, "no-result", "the encoder %4 made no result of %1"},
    {FailureKind::SourceChanged, "source-changed",
     "%1 was changed while it was being read, so nothing was delivered"},
    {FailureKind::SourceCut, "source-cut", "%1 is cut: %3"},
    {FailureKind::ResultCut, "result-cut", "the result of %1 is cut: %3"},
    {FailureKind::AimUnreached, "aim-unreached", "no setting of the encoder meets the target for %1: %3"},
    {FailureKind::MeasureFailed, "measure-failed", "cannot measure %1: %3"},
    {FailureKind::DeliveryFailed, "delivery-failed", "cannot write %2: %3"},
    {FailureKind::MetadataFailed, "metadata-failed", "cannot copy the metadata of %1: %3"},
    {FailureKind::TimedOut, "timed-out", "%1 took longer than --timeout allows and was stopped"},
    {FailureKind::Interrupted, "interrupted", "%1 was interrupted"},
};

const FailureRow& rowOf(FailureKind kind)
{
    for (const FailureRow& row : kRows) {
        if (row.kind == kind)
            return row;
    }
    return kRows[0];
}

// What the module itself says with a code, whatever the encoder.
constexpr ExitCode kModuleCodes[] = {
    {FinishCode::kNotStarted, "the encoder %2 could not be started; run vxcompress doctor to see why"},
    {FinishCode::kStopped, "the encoder %2 was killed, perhaps because memory ran out"},
};

// One pass over the pattern: a name may hold what looks like a place for another.
QString filled(const char* pattern, const QStringList& values)
{
    QString text;
    for (const char* at = pattern; *at; ++at) {
        if (*at == '%')
            text += values.value(*++at - '1');
        else
            text += QLatin1Char(*at);
    }
    return text;
}

QString codeText(const JobResult& result)
{
    const Format& format = *result.spec.format;
    const QLatin1String encoder(format.encoder->file);
    const QString input = shown(result.spec.inputPath);
    const int code = result.failure.code;
    QString text;
    for (const std::span<const ExitCode> rows :
         {std::span<const ExitCode>(kModuleCodes), format.encoder->exitCodes}) {
        for (const ExitCode& row : rows) {
            if (row.code == code)
                text = filled(row.text, {input, encoder});
        }
    }
    // Without a text an image's code 1 is its encoder's own, and no judgement on the source.
    const bool isUnexplained = code == FinishCode::kCorruptInput && result.failure.detail.isEmpty();
    if (text.isEmpty() || isUnexplained) {
        if (!format.isVideo())
            text = u"the encoder %1 failed: is %2 a whole image?"_s.arg(encoder, input);
        else if (code == FinishCode::kRefused)
            text = u"the encoder %1 refused %2: is it a whole video, and can the output's container hold "
                   "H.264?"_s.arg(encoder, input);
        else
            text = u"the encoder %1 failed on %2"_s.arg(encoder, input);
    }
    return text + u" (code %1)"_s.arg(code);
}

QString outputKinds(const QString& suffix)
{
    const QStringList images = Formats::suffixes(MediaKind::Image);
    const QStringList videos = Formats::suffixes(MediaKind::Video);
    const QString list = u"%1; %2"_s.arg(images.join(", "_L1), videos.join(", "_L1));
    if (suffix.isEmpty())
        return u"the output's name needs a suffix, one of %1"_s.arg(list);
    const QString meant = suggestSuffix(suffix, images + videos);
    return u"a .%1 cannot be written%2; the output's suffix is one of %3"_s.arg(
        shown(suffix), meant.isEmpty() ? QString() : u" (did you mean .%1?)"_s.arg(meant), list);
}

} // namespace

QString failureText(const JobResult& result)
{
    const Failure& failure = result.failure;
    const JobSpec& spec = result.spec;
    const FailureRow& row = rowOf(failure.kind);
    const QString detail =
        failure.kind == FailureKind::NoOutputKind ? outputKinds(failure.detail) : failure.detail;
    QString text = row.text ? filled(row.text, {shown(spec.inputPath), shown(spec.outputPath), detail,
                                                QLatin1String(spec.format ? spec.format->encoder->file : ""),
                                                shown(NativePath::folder(spec.outputPath)),
                                                QCoreApplication::applicationDirPath()})
                            : codeText(result);
    if (!failure.fullFolder.isEmpty()) {
        text += u"; the disk of %1 may be full: it has %2 left"_s.arg(shown(failure.fullFolder),
                                                                      sizeText(failure.roomThere));
    }
    if (!result.keptAt.isEmpty())
        text += u"; the result is kept as %1"_s.arg(shown(result.keptAt));
    return text;
}

const char* failureId(FailureKind kind)
{
    return rowOf(kind).id;
}
