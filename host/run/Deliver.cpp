#include "host/run/Deliver.h"

#include <QFile>

#include "host/run/Background.h"
#include "host/system/NativePath.h"

using namespace Qt::StringLiterals;

Deliver::~Deliver()
{
    if (std::error_code ignored; !mStagedPath.isEmpty())
        std::filesystem::remove(NativePath::toNative(mStagedPath), ignored);
    mFolder.reset();
    if (!mFinalPath.isEmpty())
        mJob.context.stagingFolders.leave(NativePath::folder(mFinalPath), mIsDelivered);
}

Failure Deliver::prepare()
{
    const QString suffix = NativePath::suffix(spec().outputPath);
    if (options().deliversNothing()) {
        mStagedPath = mJob.context.temporaryFolder.newPath(suffix);
        return {};
    }
    mFinalPath = Platform::finalPath(spec().outputPath);
    if (Failure failure = checkPlace())
        return failure;
    // One file to one name: a folder that is not there is a mistake.
    const bool isNamed = options().output == spec().outputPath;
    const QString model = isNamed ? QString() : NativePath::folder(NativePath::absolute(spec().inputPath));
    if (Failure failure = mJob.context.stagingFolders.open(NativePath::folder(mFinalPath), model, mFolder))
        return failure;
    mStagedPath = mFolder->newPath(suffix);
    return {};
}

Failure Deliver::checkPlace()
{
    mExisting = Platform::factsOf(mFinalPath);
    if (!mExisting) {
        const QString folder = NativePath::folder(mFinalPath);
        const auto name = NativePath::toNative(NativePath::fileName(mFinalPath));
        const bool isTooLong =
            Platform::factsOf(folder) && qint64(name.native().size()) > Platform::longestName(folder);
        return isTooLong ? Failure{FailureKind::NameTooLong} : Failure();
    }
    if (mExisting->kind != Platform::FileFacts::Regular)
        return {FailureKind::OutputNotRegular};
    if (!options().force && !options().inPlace)
        return {FailureKind::OutputExists};
    if (mExisting->links > 1 && !options().breakLinks)
        return {FailureKind::HardLinks, QString::number(mExisting->links)};
    // Root gives a file to anyone, all others to themselves alone.
    const bool keepsOwner = Platform::owner() == 0 || Platform::owner() == mExisting->owner;
    if (spec().isInPlace && !keepsOwner)
        return {FailureKind::OwnerWouldChange};
    return {};
}

void Deliver::start()
{
    JobResult& result = mJob.result;
    const qint64 before = result.bytesBefore;
    const qint64 saved = before - result.bytesAfter;
    const bool mayKeep = spec().isInPlace || mJob.files.isSourceOfOutputsKind();
    const bool mayGrow =
        spec().format->isVideo() && options().minSavings == 0 && (options().allowLarger || !mayKeep);
    if (saved > 0 ? double(saved) * 100 >= options().minSavings * double(before) : mayGrow)
        return place(Outcome::Delivered);
    if (!mayKeep) {
        result.outcome = Outcome::NotWorth;
        return emit ended({});
    }
    result.bytesAfter = before;
    if (mJob.isSource || spec().isInPlace || options().deliversNothing())
        place(Outcome::Kept);
    else
        copySource();
}

void Deliver::copySource()
{
    QFile::remove(mJob.files.resultPath());
    inBackground(
        this,
        [from = mJob.files.sourcePath(), to = mJob.files.resultPath()] { return Platform::copy(from, to); },
        [this](const QString& error) {
            if (mJob.stopReason != FailureKind::None)
                return emit ended({FailureKind::Interrupted});
            if (!error.isEmpty())
                return emit ended({FailureKind::DeliveryFailed, error});
            place(Outcome::Kept);
        });
}

void Deliver::place(Outcome outcome)
{
    JobResult& result = mJob.result;
    result.outcome = outcome;
    if (options().deliversNothing())
        result.outcome = options().estimate ? Outcome::Estimated : Outcome::Predicted;
    if (result.outcome == Outcome::Estimated)
        result.estimate = SizeRange{result.bytesAfter, result.bytesAfter};
    // In place, the source is where it belongs.
    const bool stays = options().deliversNothing() || (outcome == Outcome::Kept && spec().isInPlace);
    emit ended(stays ? Failure() : move());
}

// With the mode, owner and dates that the result ought to have.
Failure Deliver::move()
{
    // As it is now: somebody may have changed or removed it meanwhile.
    if (mExisting)
        mExisting = Platform::factsOf(mFinalPath);
    if (mExisting && mExisting->links > 1 && !options().breakLinks)
        return {FailureKind::DeliveryFailed, u"it has got several names (hard links) in the meantime"_s};
    QString error = mExisting
                        ? Platform::makeAlike(mFinalPath, *mExisting, mStagedPath, true)
                        : Platform::makeAlike(spec().inputPath, mJob.files.source(), mStagedPath, false);
    if (error.isEmpty() && (spec().isInPlace || options().keepDates))
        error = Platform::setTimes(mStagedPath, mJob.files.source());
    const bool mayReplace = options().force || options().inPlace;
    if (error.isEmpty())
        error = Platform::rename(mStagedPath, mFinalPath, mayReplace);
    mIsDelivered = error.isEmpty();
    if (mIsDelivered)
        return {};
    const bool isTaken = Platform::factsOf(mFinalPath).has_value();
    // Before the work it was the user's mistake; now it is somebody else's doing.
    if (isTaken && !mayReplace)
        return options().skipExisting
                   ? Failure{FailureKind::OutputExists}
                   : Failure{FailureKind::DeliveryFailed, u"a file of this name exists by now"_s};
    // An hour's work is not thrown away because another program holds the target.
    if (isTaken) {
        const QString beside = NativePath::join(NativePath::folder(mFinalPath),
                                                NativePath::baseName(mFinalPath) + u".vxcompress-result."_s +
                                                    NativePath::suffix(mFinalPath));
        if (Platform::rename(mStagedPath, beside, false).isEmpty())
            mJob.result.keptAt = beside;
    }
    return {FailureKind::DeliveryFailed, error};
}
