#include "host/run/ResultCheck.h"

#include <QFile>
#include <QFileInfo>

#include "host/job/Format.h"
#include "host/job/Options.h"
#include "host/media/ImageMetadata.h"
#include "host/media/LengthVerdict.h"
#include "host/media/Losses.h"
#include "host/media/VideoMetadata.h"
#include "host/media/VideoProbe.h"
#include "host/run/Background.h"
#include "host/system/PlatformFiles.h"

using namespace Qt::StringLiterals;

namespace {

struct ImageLook
{
    QString metadataError;
    MediaFacts facts;
};

} // namespace

ResultCheck::ResultCheck(const Options& options, const JobSpec& spec, SourceView source, Files files,
                         bool mayTakeDamaged)
    : mOptions(options), mSpec(spec), mSource(std::move(source)), mFiles(std::move(files)),
      mMayTakeDamaged(mayTakeDamaged)
{
}

ResultCheck::~ResultCheck()
{
    // The program first: it may still be writing.
    mRestore.reset();
    if (!mRestoredPath.isEmpty())
        QFile::remove(mRestoredPath);
}

void ResultCheck::start()
{
    if (mSpec.format->isVideo())
        probeVideo();
    else
        checkImage();
}

void ResultCheck::checkImage()
{
    const auto look = [files = mFiles, copies = mOptions.keepMetadata] {
        ImageLook result;
        result.facts = inspectMedia(files.result);
        if (copies && result.facts.kind == MediaKind::Image && result.facts.damage.isEmpty()) {
            result.metadataError = copyImageMetadata(files.source, files.result);
            result.facts = inspectMedia(files.result);
        }
        return result;
    };
    inBackground(this, look, [this](const ImageLook& result) {
        if (!result.metadataError.isEmpty())
            return end({FailureKind::MetadataFailed, result.metadataError});
        if (result.facts.kind != MediaKind::Image)
            return end({FailureKind::ResultCut, u"it is no image"_s});
        if (!result.facts.damage.isEmpty())
            return end({FailureKind::ResultCut, result.facts.damage});
        mView.warnings += imageLosses(mSource.facts, result.facts);
        end({});
    });
}

void ResultCheck::probeVideo()
{
    mProbe = std::make_unique<VideoProbe>(mFiles.result);
    connect(mProbe.get(), &VideoProbe::answered, this, &ResultCheck::onProbed);
}

void ResultCheck::onProbed()
{
    const VideoFacts result = mProbe->facts();
    if (!result.error.isEmpty())
        return end({FailureKind::ResultCut, result.error});
    const LengthVerdict verdict = lengthVerdict(mSource.video, result);
    if (verdict.kind == LengthVerdict::Cut && !mMayTakeDamaged)
        return end({FailureKind::ResultCut, verdict.text});
    const QString suffix = QFileInfo(mFiles.result).suffix();
    if (mOptions.keepMetadata && !mIsRestored &&
        !missingVideoMetadata(mSource.video, result, suffix).isEmpty())
        return restoreVideoMetadata(result);
    if (verdict.kind != LengthVerdict::Whole)
        mView.warnings.append({u"length"_s, verdict.text});
    mView.warnings += videoLosses(mSource.video, result);
    end({});
}

void ResultCheck::restoreVideoMetadata(const VideoFacts& result)
{
    const QFileInfo made(mFiles.result);
    mRestoredPath = made.path() + u'/' + made.completeBaseName() + u".tags."_s + made.suffix();
    mRestore = std::make_unique<ToolRun>();
    connect(mRestore.get(), &ToolRun::ended, this, &ResultCheck::onRestored);
    mRestore->start(ToolCall::ffmpeg(
        videoMetadataArguments(mSource.video, result, mFiles.source, mFiles.result, mRestoredPath)));
}

void ResultCheck::onRestored(const ToolResult& restored)
{
    if (!restored.isSuccess())
        return end({FailureKind::MetadataFailed, restored.reason()});
    const QString error = Platform::rename(mRestoredPath, mFiles.result, true);
    if (!error.isEmpty())
        return end({FailureKind::MetadataFailed, error});
    mRestoredPath.clear();
    // What will be delivered is looked at, and not what it was made of.
    mIsRestored = true;
    mProbe.release()->deleteLater();
    probeVideo();
}

void ResultCheck::end(const Failure& failure)
{
    mView.failure = failure;
    // Whoever hears it may let the check go.
    const ResultView view = mView;
    emit ended(view);
}
