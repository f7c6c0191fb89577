#include "host/run/Check.h"

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

bool haveSameContent(const QString& path, const QString& other)
{
    constexpr qint64 kBlockBytes = 1 << 20;
    QFile file(path);
    QFile otherFile(other);
    if (!file.open(QIODevice::ReadOnly) || !otherFile.open(QIODevice::ReadOnly) ||
        file.size() != otherFile.size())
        return false;
    while (!file.atEnd()) {
        const QByteArray block = file.read(kBlockBytes);
        if (block.isEmpty() || block != otherFile.read(kBlockBytes))
            return false;
    }
    return true;
}

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
    mProbe = std::make_unique<VideoProbe>(mFiles.resultPath());
    connect(mProbe.get(), &VideoProbe::answered, this, &Check::onProbed);
}

void Check::onProbed()
{
    const VideoFacts result = mProbe->facts();
    if (!result.error.isEmpty())
        return end({FailureKind::ResultCut, result.error});
    const LengthVerdict verdict = lengthVerdict(mSource.video, result);
    if (verdict.kind == LengthVerdict::Cut && !mMayTakeDamaged)
        return end({FailureKind::ResultCut, verdict.text});
    const QString suffix = QFileInfo(mFiles.resultPath()).suffix();
    if (mOptions.keepMetadata && !mIsRestored &&
        !missingVideoMetadata(mSource.video, result, suffix).isEmpty())
        return restoreVideoMetadata(result);
    if (verdict.kind != LengthVerdict::Whole)
        mResult.losses.append({u"length"_s, verdict.text});
    mResult.losses += videoLosses(mSource.video, result);
    end({});
}

void Check::restoreVideoMetadata(const VideoFacts& result)
{
    const QFileInfo made(mFiles.resultPath());
    mRestoredPath = made.path() + u'/' + made.completeBaseName() + u".tags."_s + made.suffix();
    mRestore = std::make_unique<ToolRun>();
    connect(mRestore.get(), &ToolRun::ended, this, &Check::onRestored);
    mRestore->start(ToolCall::ffmpeg(videoMetadataArguments(mSource.video, result, mFiles.sourcePath(),
                                                            mFiles.resultPath(), mRestoredPath)));
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
    mProbe.release()->deleteLater();
    probeVideo();
}

void Check::end(Failure failure)
{
    if (!failure)
        failure = measure(mResult.bytes);
    mResult.failure = failure;
    emit ended(mResult);
}
