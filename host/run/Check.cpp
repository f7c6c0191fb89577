#include "host/run/Check.h"

#include <QFile>
#include <QFileInfo>

#include "host/job/Format.h"
#include "host/media/ImageMetadata.h"
#include "host/media/LengthVerdict.h"
#include "host/media/Losses.h"
#include "host/media/VideoMetadata.h"
#include "host/run/Background.h"
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
    check.isSource = Platform::haveSameContent(source, result);
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

Check::Check(JobState& job) : Stage(job)
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
    if (const Failure failure = measure(mJob.result.bytesMade))
        return end(failure);
    if (spec().format->isVideo())
        probeVideo();
    else
        checkImage();
}

Failure Check::measure(qint64& bytes) const
{
    if (mJob.files.isSourceChanged())
        return {FailureKind::SourceChanged};
    const auto made = Platform::factsOf(mJob.files.resultPath());
    bytes = made ? made->bytes : 0;
    return bytes == 0 ? Failure{FailureKind::NoResult} : Failure();
}

void Check::checkImage()
{
    const auto look = [source = mJob.files.sourcePath(), result = mJob.files.resultPath(),
                       copies = options().keepMetadata] { return lookAt(source, result, copies); };
    inBackground(this, look, [this](const ImageCheck& check) {
        mJob.isSource = check.isSource;
        if (check.isSource)
            return end({});
        if (!check.metadataError.isEmpty())
            return end({FailureKind::MetadataFailed, check.metadataError});
        if (check.facts.kind != MediaKind::Image)
            return end({FailureKind::ResultCut, u"it is not an image"_s});
        if (!check.facts.damage.isEmpty())
            return end({FailureKind::ResultCut, check.facts.damage});
        mJob.losses += imageLosses(mJob.source, check.facts);
        end({});
    });
}

void Check::probeVideo()
{
    mProbe.start(videoProbe(mJob.files.resultPath()));
}

void Check::onProbed(const ToolResult& answer)
{
    const VideoFacts result = videoFactsIn(answer);
    if (!result.error.isEmpty())
        return end({FailureKind::ResultCut, result.error});
    const LengthVerdict verdict = lengthVerdict(mJob.sourceVideo, result);
    if (verdict.kind == LengthVerdict::Cut && !mJob.mayTakeDamaged)
        return end({FailureKind::ResultCut, verdict.text});
    const QFileInfo made(mJob.files.resultPath());
    const QString restored = made.path() + u'/' + made.completeBaseName() + u".tags."_s + made.suffix();
    const QStringList pass = videoMetadataPass(mJob.sourceVideo, result, mJob.files.sourcePath(),
                                               mJob.files.resultPath(), restored);
    if (options().keepMetadata && !mIsRestored && !pass.isEmpty()) {
        mRestoredPath = restored;
        mRestore = std::make_unique<ToolRun>();
        connect(mRestore.get(), &ToolRun::ended, this, &Check::onRestored);
        return mRestore->start(ToolCall::ffmpeg(pass));
    }
    if (verdict.kind != LengthVerdict::Whole)
        mJob.losses.append({u"length"_s, verdict.text});
    mJob.losses += videoLosses(mJob.sourceVideo, result);
    end({});
}

void Check::onRestored(const ToolResult& restored)
{
    if (!restored.isSuccess())
        return end({FailureKind::MetadataFailed, restored.reason()});
    const QString error = Platform::rename(mRestoredPath, mJob.files.resultPath(), true);
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
        failure = measure(mJob.result.bytesAfter);
    emit ended(failure);
}
