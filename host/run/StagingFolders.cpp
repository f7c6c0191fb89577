#include "host/run/StagingFolders.h"

#include "host/system/NativePath.h"
#include "host/system/PlatformFiles.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kRemembered = 64;
constexpr quint32 kFolderMode = 0777;   // less what the user's mask takes away
constexpr quint32 kUsableFolder = 0700; // by its owner, who is to write into it
constexpr int kMaxTries = 5;

} // namespace

void StagingFolders::sweep(const QString& folder)
{
    if (mSwept.contains(folder))
        return;
    PrivateFolder::sweep(folder, PrivateFolder::kBesideOutput);
    mSwept.append(folder);
    if (mSwept.size() > kRemembered)
        mSwept.removeFirst();
}

Failure StagingFolders::open(const QString& folder, const QString& model,
                             std::shared_ptr<PrivateFolder>& opened)
{
    // Another run that found nothing to deliver there may take a folder away again that it has made.
    for (int tries = 0; tries < kMaxTries; ++tries) {
        if (Failure failure = make(folder, model))
            return failure;
        opened = in(folder);
        if (opened->isValid())
            return {};
        if (Platform::factsOf(folder))
            break;
    }
    return {FailureKind::FolderUnwritable, opened->errorString()};
}

Failure StagingFolders::make(const QString& folder, const QString& model)
{
    QString reason;
    if (const auto facts = Platform::factsOf(folder, &reason))
        return facts->kind == Platform::FileFacts::Folder
                   ? Failure()
                   : Failure{FailureKind::NoOutputFolder, u"it is a file"_s};
    const QString above = NativePath::folder(folder);
    if (model.isEmpty() || above == folder)
        return {FailureKind::NoOutputFolder, reason};
    if (Failure failure = make(above, NativePath::folder(model)))
        return failure;
    const bool isNew = Platform::makeFolder(folder, kFolderMode, reason);
    if (!reason.isEmpty())
        return {FailureKind::NoOutputFolder, reason};
    if (!isNew)
        return {};
    mMade.insert(folder);
    const bool isMirrored = NativePath::fileName(model) == NativePath::fileName(folder);
    if (auto facts = isMirrored ? Platform::factsOf(model) : std::nullopt) {
        facts->mode |= kUsableFolder;
        Platform::makeAlike(model, *facts, folder, false);
    }
    return {};
}

std::shared_ptr<PrivateFolder> StagingFolders::in(const QString& folder)
{
    auto living = mLiving.value(folder).lock();
    if (living && living->isValid())
        return living;
    mLiving.removeIf([](const auto& entry) { return entry.value().expired(); });
    sweep(folder);
    auto made = std::make_shared<PrivateFolder>(folder, PrivateFolder::kBesideOutput);
    mLiving.insert(folder, made);
    return made;
}

void StagingFolders::leave(const QString& folder, bool hasResult)
{
    for (QString made = folder; mMade.contains(made); made = NativePath::folder(made)) {
        if (!hasResult && !Platform::removeEmptyFolder(made))
            return;
        mMade.remove(made);
    }
}

void StagingFolders::removeAll()
{
    for (const std::weak_ptr<PrivateFolder>& folder : std::as_const(mLiving)) {
        if (const auto living = folder.lock())
            living->remove();
    }
    const QSet<QString> made = mMade;
    for (const QString& folder : made)
        leave(folder, false);
}
