#include "host/run/Check.h"

#include <QFile>
#include <QFileInfo>

#include "host/job/Format.h"
#include "host/job/Options.h"
#include "host/media/ImageMetadata.h"
#include "host/media/LengthVerdict.h"
#include "host/media/Losses.h"
#include "host/media/VideoMetadata.h"
#include "host/run/Background.h"
#include "host/system/FileCompare.h"
#include "host/system/PlatformFiles.h"

using namespace Qt::StringLiterals;

namespace {

struct ImageCheck
{
    bool isSource = false;
    QString metadataError;
    MediaFacts facts;
};

ImageCheck lookAt(const QString& source, const QString& result, bool copiesMetadata)
{
    ImageCheck check;
    check.isSource = haveSameContent(source, result);
    if (check.isSource)
        return check;
    check.facts = inspectMedia(result);
    if (copiesMetadata && check.facts.kind == MediaKind::Image && check.facts.damage.isEmpty()) {
        check.metadataError = copyImageMetadata(source, result);
        check.facts = inspectMedia(result);
    }
    return check;
}

} // namespace

Check::Check(const Options& options, const JobFiles& files, const LookResult& source, bool mayTakeDamaged)
    : mOptions(options), mFiles(files), mSource(source), mMayTakeDamaged(mayTakeDamaged)
{
    connect(&mProbe, &ToolRun::ended, this, &Check::onProbed);
}

Check::~Check()
{
    // The program first: it may still be writing.
    mRestore.reset();
    if (!mRestoredPath.isEmpty())
        QFile::remove(mRestoredPath);
}

void Check::start()
{
    if (const Failure failure = measure(mResult.bytesMade))
        return end(failure);
    if (mFiles.spec().format->isVideo())
        probeVideo();
    else
        checkImage();
}

Failure Check::measure(qint64& bytes) const
{
    if (mFiles.isSourceChanged())
        return {FailureKind::SourceChanged};
    const auto made = Platform::factsOf(mFiles.resultPath());
    bytes = made ? made->bytes : 0;
    return bytes == 0 ? Failure{FailureKind::NoResult} : Failure();
}

void Check::checkImage()
{
    const auto look = [source = mFiles.sourcePath(), result = mFiles.resultPath(),
                       copies = mOptions.keepMetadata] { return lookAt(source, result, copies); };
    inBackground(this, look, [this](const ImageCheck& check) {
        mResult.isSource = check.isSource;
        if (check.isSource)
            return end({});
        if (!check.metadataError.isEmpty())
            return end({FailureKind::MetadataFailed, check.metadataError});
        if (check.facts.kind != MediaKind::Image)
            return end({FailureKind::ResultCut, u"it is not an image"_s});
        if (!check.facts.damage.isEmpty())
            return end({FailureKind::ResultCut, check.facts.damage});
        mResult.losses += imageLosses(mSource.facts, check.facts);
        end({});
    });
}

void Check::probeVideo()
{
    mProbe.start(videoProbe(mFiles.resultPath()));
}

void Check::onProbed(const ToolResult& answer)
{
    const VideoFacts result = videoFactsIn(answer);
    if (!result.error.isEmpty())
        return end({FailureKind::ResultCut, result.error});
    const LengthVerdict verdict = lengthVerdict(mSource.video, result);
    if (verdict.kind == LengthVerdict::Cut && !mMayTakeDamaged)
        return end({FailureKind::ResultCut, verdict.text});
    const QFileInfo made(mFiles.resultPath());
    const QString restored = made.path() + u'/' + made.completeBaseName() + u".tags."_s + made.suffix();
    const QStringList pass =
        videoMetadataPass(mSource.video, result, mFiles.sourcePath(), mFiles.resultPath(), restored);
    if (mOptions.keepMetadata && !mIsRestored && !pass.isEmpty()) {
        mRestoredPath = restored;
        mRestore = std::make_unique<ToolRun>();
        connect(mRestore.get(), &ToolRun::ended, this, &Check::onRestored);
        return mRestore->start(ToolCall::ffmpeg(pass));
    }
    if (verdict.kind != LengthVerdict::Whole)
        mResult.losses.append({u"length"_s, verdict.text});
    mResult.losses += videoLosses(mSource.video, result);
    end({});
}

void Check::onRestored(const ToolResult& restored)
{
    if (!restored.isSuccess())
        return end({FailureKind::MetadataFailed, restored.reason()});
    const QString error = Platform::rename(mRestoredPath, mFiles.resultPath(), true);
    if (!error.isEmpty())
        return end({FailureKind::MetadataFailed, error});
    mRestoredPath.clear();
    // What will be delivered is looked at, and not what it was made of.
    mIsRestored = true;
    probeVideo();
}

void Check::end(Failure failure)
{
    if (!failure)
        failure = measure(mResult.bytes);
    mResult.failure = failure;
    emit ended(mResult);
}
