#include "host/run/Delivery.h"

#include "host/system/NativePath.h"

using namespace Qt::StringLiterals;

namespace fs = std::filesystem;

namespace {

constexpr quint32 kFolderMode = 0777; // less what the user's mask takes away
constexpr int kMaxTries = 5;
constexpr quint32 kUsableFolder = 0700; // by its owner, who is to write into it

} // namespace

Delivery::~Delivery()
{
    std::error_code ignored;
    if (!mStagedPath.isEmpty())
        fs::remove(NativePath::toNative(mStagedPath), ignored);
    mFolder.reset();
    if (mStaging)
        mStaging->leave(NativePath::folder(mFinalPath), mIsDelivered);
}

Failure Delivery::check(const Platform::FileFacts& source)
{
    mSource = source;
    if (mOptions.deliversNothing())
        return {};
    mFinalPath = Platform::finalPath(mSpec.outputPath);
    mExisting = Platform::factsOf(mFinalPath);
    const QString folder = NativePath::folder(mFinalPath);
    if (!mExisting) {
        const QString name = NativePath::fileName(mFinalPath);
        const auto bytes = qint64(NativePath::toNative(name).native().size());
        const bool isThere = Platform::factsOf(folder).has_value();
        return isThere && bytes > Platform::longestName(folder) ? Failure{FailureKind::NameTooLong, QString()}
                                                                : Failure();
    }
    if (mExisting->kind != Platform::FileFacts::Regular)
        return {FailureKind::OutputNotRegular, QString()};
    if (!mOptions.force && !mOptions.inPlace)
        return {FailureKind::OutputExists, QString()};
    if (mExisting->links > 1 && !mOptions.breakLinks)
        return {FailureKind::HardLinks, QString::number(mExisting->links)};
    if (mSpec.isInPlace && !Platform::canTakeOwner(*mExisting))
        return {FailureKind::OwnerWouldChange, QString()};
    return {};
}

Failure Delivery::prepare(StagingFolders& folders, PrivateFolder* temporary)
{
    const QString suffix = NativePath::suffix(mSpec.outputPath);
    if (temporary) {
        mStagedPath = temporary->newPath(suffix);
        return {};
    }
    mStaging = &folders;
    const QString folder = NativePath::folder(mFinalPath);
    // Another run that found nothing to deliver there may take a folder away again that it has made.
    for (int tries = 0; tries < kMaxTries && !(mFolder && mFolder->isValid()); ++tries) {
        if (mFolder && Platform::factsOf(folder))
            break;
        if (Failure failure = makeFolders(folder, NativePath::folder(NativePath::absolute(mSpec.inputPath))))
            return failure;
        mFolder.reset();
        mFolder = folders.in(folder);
    }
    if (!mFolder->isValid())
        return {FailureKind::FolderUnwritable, mFolder->errorString()};
    mStagedPath = mFolder->newPath(suffix);
    return {};
}

// A mirrored folder lets in whom its model lets in.
Failure Delivery::makeFolders(const QString& folder, const QString& model)
{
    QString reason;
    const auto facts = Platform::factsOf(folder, &reason);
    if (facts) {
        return facts->kind == Platform::FileFacts::Folder
                   ? Failure()
                   : Failure{FailureKind::NoOutputFolder, u"it is a file"_s};
    }
    // One file to one name: a folder that is not there is a mistake.
    const bool isNamed = mOptions.output == mSpec.outputPath;
    const QString above = NativePath::folder(folder);
    if (isNamed || above == folder)
        return {FailureKind::NoOutputFolder, reason};
    if (Failure failure = makeFolders(above, NativePath::folder(model)))
        return failure;
    bool isNew = false;
    reason = Platform::makeFolder(folder, kFolderMode, isNew);
    if (!reason.isEmpty())
        return {FailureKind::NoOutputFolder, reason};
    if (!isNew)
        return {};
    mStaging->noteMade(folder);
    const bool isMirrored = NativePath::fileName(model) == NativePath::fileName(folder);
    const auto modelFacts = isMirrored ? Platform::factsOf(model) : std::nullopt;
    if (modelFacts) {
        Platform::FileFacts wanted = *modelFacts;
        wanted.mode |= kUsableFolder;
        Platform::makeAlike(model, wanted, folder, false);
    }
    return {};
}

Failure Delivery::deliver(QString& keptAt)
{
    // As it is now: somebody may have changed or removed it meanwhile.
    if (mExisting)
        mExisting = Platform::factsOf(mFinalPath);
    if (mExisting && mExisting->links > 1 && !mOptions.breakLinks)
        return {FailureKind::DeliveryFailed, u"it has several names (hard links) by now"_s};
    QString error = mExisting ? Platform::makeAlike(mFinalPath, *mExisting, mStagedPath, true)
                              : Platform::makeAlike(mSpec.inputPath, mSource, mStagedPath, false);
    if (error.isEmpty() && (mSpec.isInPlace || mOptions.keepDates))
        error = Platform::setTimes(mStagedPath, mSource);
    const bool mayReplace = mOptions.force || mOptions.inPlace;
    if (error.isEmpty())
        error = Platform::rename(mStagedPath, mFinalPath, mayReplace);
    if (error.isEmpty()) {
        mIsDelivered = true;
        return {};
    }
    const bool isTaken = Platform::factsOf(mFinalPath).has_value();
    if (isTaken && !mayReplace)
        return {FailureKind::OutputExists, QString()};
    // An hour's work is not thrown away because another program holds the target.
    if (isTaken) {
        const QString beside = NativePath::join(NativePath::folder(mFinalPath),
                                                NativePath::baseName(mFinalPath) + u".vxcompress-result."_s +
                                                    NativePath::suffix(mFinalPath));
        if (Platform::rename(mStagedPath, beside, false).isEmpty())
            keptAt = beside;
    }
    return {FailureKind::DeliveryFailed, error};
}
