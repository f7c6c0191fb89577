#include "host/run/Job.h"

#include <QFile>
#include <QStorageInfo>

#include "host/run/Background.h"
#include "host/run/MakeEncode.h"
#include "host/system/NativePath.h"

using namespace Qt::StringLiterals;

namespace fs = std::filesystem;

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

const Failure kNoLink{FailureKind::MeasureFailed, u"no link to its name could be made"_s};

// Whether a copy of the source may go under the output's name.
bool isOfOutputsKind(const JobSpec& spec, const QString& sourcePath)
{
    if (spec.format->isVideo())
        return NativePath::suffix(spec.inputPath)
                   .compare(NativePath::suffix(spec.outputPath), Qt::CaseInsensitive) == 0;
    return Formats::looksLike(*spec.format, sourcePath);
}

} // namespace

Job::Job(const JobContext& context, const JobSpec& spec) : mContext(context), mSpec(spec)
{
    mResult.spec = spec;
    mTimeout.setSingleShot(true);
    connect(&mTimeout, &QTimer::timeout, this, [this] { stop(FailureKind::TimedOut); });
}

Job::~Job()
{
    // What runs first: it may still write where the delivery cleans up.
    mLook.reset();
    mEncode.reset();
    mCheck.reset();
    std::error_code ignored;
    for (const QString& link : std::as_const(mLinks))
        fs::remove(NativePath::toNative(link), ignored);
}

void Job::start()
{
    mClock.start();
    if (mContext.isEnding()) {
        mStopReason = FailureKind::Interrupted;
        return fail({mStopReason, QString()});
    }
    Failure failure = statSource();
    if (!failure) {
        mDelivery.emplace(mContext.options, mSpec);
        failure = mDelivery->check(mSource);
    }
    if (!failure) {
        failure =
            mDelivery->prepare(mContext.stagingFolders,
                               mContext.options.deliversNothing() ? &mContext.temporaryFolder : nullptr);
    }
    if (!failure)
        failure = reachFiles();
    if (failure)
        return fail(failure);
    mLook = std::make_unique<SourceLook>(mContext.options, mSpec, mSourcePath, mayTakeDamaged());
    connect(mLook.get(), &SourceLook::ended, this, &Job::onLooked);
    mLook->start();
}

// A damaged result is somebody's last copy of a damaged source at best: it replaces nothing.
bool Job::mayTakeDamaged() const
{
    return mContext.options.keepDamaged && !mSpec.isInPlace && !mDelivery->replacesFile();
}

Failure Job::statSource()
{
    QString reason;
    const auto facts = Platform::factsOf(mSpec.inputPath, &reason);
    if (!facts)
        return {FailureKind::NoInput, reason};
    mSource = *facts;
    mResult.bytesBefore = facts->bytes;
    // Reading a pipe or a device may never end, and nothing tells its size.
    if (facts->kind != Platform::FileFacts::Regular)
        return {FailureKind::NotRegular,
                facts->kind == Platform::FileFacts::Folder ? u"; -r takes folders"_s : QString()};
    return facts->bytes == 0 ? Failure{FailureKind::Empty, QString()} : Failure();
}

void Job::onLooked(const SourceView& view)
{
    mView = view;
    mResult.warnings += view.warnings;
    if (isStopped())
        return;
    if (view.failure)
        return fail(view.failure);
    const QString suffix = trueSuffix(view.facts, NativePath::suffix(mSourcePath));
    if (!suffix.isEmpty())
        mSourcePath = linkTo(mSourcePath, suffix);
    if (mSourcePath.isEmpty())
        return fail(kNoLink);
    if (view.video.lengthMs > 0) {
        mResult.videoMs = view.video.lengthMs;
        emit measured(mResult.videoMs);
    }
    beginEncode();
}

// The path itself, or that of a link to it where not every tool could carry it.
QString Job::plainPath(const QString& path, const QString& linkSuffix)
{
    return NativePath::isPlain(path) ? path : linkTo(path, linkSuffix);
}

// Empty when there can be none. Without a suffix it is a folder's.
QString Job::linkTo(const QString& path, const QString& linkSuffix)
{
    QString link = mContext.temporaryFolder.newPath(linkSuffix);
    if (!Platform::makeLink(path, link, linkSuffix.isEmpty()).isEmpty())
        return {};
    mLinks.append(link);
    return link;
}

Failure Job::reachFiles()
{
    const QString source = NativePath::absolute(mSpec.inputPath);
    QString suffix = NativePath::suffix(source);
    if (!NativePath::isPlain(suffix))
        suffix = u"bin"_s;
    mSourcePath = plainPath(source, suffix);
    // The staged name is plain, so its folder is what may not be.
    const QString folder = plainPath(NativePath::folder(mDelivery->stagedPath()), QString());
    mResultPath = NativePath::join(folder, NativePath::fileName(mDelivery->stagedPath()));
    if (mSourcePath.isEmpty() || folder.isEmpty())
        return kNoLink;
    return {};
}

void Job::beginEncode()
{
    mEncode = makeEncode({mContext.makeRun, mContext.options, mSpec, mSourcePath, mResultPath,
                          mContext.temporaryFolder, mResult.videoMs});
    connect(mEncode.get(), &Encode::ended, this, &Job::onEncoded);
    connect(mEncode.get(), &Encode::progressed, this, [this](double share) {
        if (share <= mShare || mHasEnded)
            return;
        mShare = std::min(share, 1.0);
        emit progressed(mShare);
    });
    if (mContext.options.timeoutSecs > 0)
        mTimeout.start(std::chrono::seconds(mContext.options.timeoutSecs));
    mEncode->start();
}

void Job::stop(FailureKind reason)
{
    if (mStopReason != FailureKind::None || mHasEnded)
        return;
    mStopReason = reason;
    // What looks at files ends when it is let go, and this must not come inside the caller's loop.
    if (mEncode && !mCheck)
        mEncode->stop();
    else if (mLook)
        QMetaObject::invokeMethod(this, &Job::isStopped, Qt::QueuedConnection);
}

// Also where nobody has told the job yet: an encoder on the same terminal has got the same Ctrl-C, and may
// have ended first, in whatever way.
bool Job::isStopped()
{
    if (mStopReason == FailureKind::None && mContext.isEnding())
        mStopReason = FailureKind::Interrupted;
    if (mStopReason == FailureKind::None)
        return false;
    if (!mHasEnded)
        fail({mStopReason, QString()});
    return true;
}

void Job::onEncoded(const EncodeEnd& end)
{
    mResult.runs = end.runs;
    mResult.quality = end.quality;
    mResult.ssim = end.ssim;
    mResult.estimate = end.estimate;
    mResult.warnings += end.warnings;
    if (isStopped())
        return;
    // Not the encoder's fault, whatever it has said.
    if (!Platform::factsOf(NativePath::folder(mResultPath)))
        return fail({FailureKind::DeliveryFailed, u"its folder is gone"_s});
    if (end.failure)
        return fail(end.failure);
    if (end.estimate)
        return this->end(Outcome::Estimated);
    if (isSourceChanged())
        return fail({FailureKind::SourceChanged, QString()});
    const auto made = Platform::factsOf(mResultPath);
    if (!made || made->bytes == 0)
        return fail({FailureKind::NoResult, QString()});
    mResult.bytesMade = made->bytes;
    mCheck = std::make_unique<ResultCheck>(mContext.options, mSpec, mView,
                                           ResultCheck::Files{mSourcePath, mResultPath}, mayTakeDamaged());
    connect(mCheck.get(), &ResultCheck::ended, this, &Job::onChecked);
    mCheck->start();
}

bool Job::isSourceChanged() const
{
    const auto source = Platform::factsOf(mSpec.inputPath);
    return !source || !source->isUnchanged(mSource);
}

void Job::onChecked(const ResultView& view)
{
    mTimeout.stop();
    if (isStopped())
        return;
    if (view.failure)
        return fail(view.failure);
    mLosses = view.warnings;
    if (isSourceChanged())
        return fail({FailureKind::SourceChanged, QString()});
    const auto made = Platform::factsOf(mResultPath);
    if (!made || made->bytes == 0)
        return fail({FailureKind::NoResult, QString()});
    mResult.bytesAfter = made->bytes;
    decide();
}

void Job::decide()
{
    const qint64 before = mResult.bytesBefore;
    const qint64 after = mResult.bytesAfter;
    const Options& options = mContext.options;
    const bool isSmaller = after < before;
    const bool isWorth = isSmaller && double(before - after) * 100 >= options.minSavings * double(before);
    const bool mayGrow = mSpec.format->isVideo() && options.allowLarger && options.minSavings == 0;
    if (isWorth || (!isSmaller && mayGrow))
        return deliver(Outcome::Delivered);
    if (mSpec.isInPlace || isOfOutputsKind(mSpec, mSourcePath)) {
        mResult.bytesAfter = before;
        // What the module gave may be the source already.
        const bool isCopy = after == before && haveSameContent(mSourcePath, mResultPath);
        return isCopy || mSpec.isInPlace || options.deliversNothing() ? deliver(Outcome::Kept)
                                                                      : deliverCopy();
    }
    if (!isSmaller && options.minSavings == 0)
        return deliver(Outcome::Delivered);
    end(Outcome::NotWorth);
}

void Job::deliverCopy()
{
    std::error_code ignored;
    fs::remove(NativePath::toNative(mResultPath), ignored);
    inBackground(
        this, [from = mSourcePath, to = mResultPath] { return Platform::copy(from, to); },
        [this](const QString& error) {
            if (mStopReason != FailureKind::None)
                return fail({mStopReason, QString()});
            if (!error.isEmpty())
                return fail({FailureKind::DeliveryFailed, error});
            deliver(Outcome::Kept);
        });
}

void Job::deliver(Outcome outcome)
{
    if (mContext.options.deliversNothing())
        return predict();
    // In place, the source is where it belongs.
    if (outcome == Outcome::Kept && mSpec.isInPlace)
        return end(outcome);
    Failure failure = mDelivery->deliver(mResult.keptAt);
    // Before the work it was the user's mistake; now it is somebody else's doing.
    if (failure.kind == FailureKind::OutputExists && !mContext.options.skipExisting)
        failure = {FailureKind::DeliveryFailed, u"it exists by now"_s};
    if (failure)
        return fail(failure);
    end(outcome);
}

void Job::predict()
{
    if (mContext.options.estimate)
        mResult.estimate = SizeRange{mResult.bytesAfter, mResult.bytesAfter};
    end(mContext.options.estimate ? Outcome::Estimated : Outcome::Predicted);
}

void Job::fail(const Failure& failure)
{
    // Another run has delivered it since this one was planned.
    if (failure.kind == FailureKind::OutputExists && mContext.options.skipExisting) {
        mResult.bytesAfter = 0;
        mResult.warnings.clear();
        return end(Outcome::Skipped);
    }
    mResult.failure = failure;
    if (failure.kind == FailureKind::EncoderFailed || failure.kind == FailureKind::DeliveryFailed ||
        failure.kind == FailureKind::NoResult)
        noteFullDisk();
    mResult.bytesAfter = 0;
    end(Outcome::Failed);
}

// A likely cause, where a disk has less room than the source takes.
void Job::noteFullDisk()
{
    const QString output = NativePath::folder(NativePath::absolute(mSpec.outputPath));
    for (const QString& folder : {mContext.temporaryFolder.path(), output}) {
        const QStorageInfo disk(folder);
        if (!disk.isValid() || disk.bytesAvailable() >= mSource.bytes)
            continue;
        mResult.failure.fullFolder = folder == output ? output : NativePath::folder(folder);
        mResult.failure.roomThere = disk.bytesAvailable();
        return;
    }
}

void Job::end(Outcome outcome)
{
    if (std::exchange(mHasEnded, true))
        return;
    // A source that stays has lost nothing.
    if (outcome == Outcome::Delivered || outcome == Outcome::Predicted)
        mResult.warnings += mLosses;
    mTimeout.stop();
    mResult.outcome = outcome;
    mResult.elapsedMs = mClock.elapsed();
    // Whoever waits for the end may let the job go.
    const JobResult result = mResult;
    emit ended(result);
}
