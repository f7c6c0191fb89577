#include "host/run/StagingFolders.h"

#include "host/system/NativePath.h"
#include "host/system/PlatformFiles.h"

namespace {

constexpr qsizetype kRemembered = 64;

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
