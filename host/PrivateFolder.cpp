#include "host/PrivateFolder.h"

#include <QDateTime>
#include <QDirIterator>
#include <QFileInfo>

#include <algorithm>

namespace {

// Nobody's folder is held at its very beginning, and a hold may not be seen from another machine on a shared
// disk: what changed a moment ago is left alone.
constexpr qint64 kLeftoverAgeSecs = 600;

QDateTime lastChange(const QString& folder)
{
    QDateTime last = QFileInfo(folder).lastModified();
    QDirIterator files(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (files.hasNext())
        last = std::max(last, files.nextFileInfo().lastModified());
    return last;
}

void removeIfLeft(const QFileInfo& folder, uint owner)
{
    if (folder.isSymLink() || folder.ownerId() != owner)
        return;
    if (lastChange(folder.filePath()).secsTo(QDateTime::currentDateTime()) < kLeftoverAgeSecs)
        return;
    Platform::FolderHold hold(folder.filePath());
    if (!hold.isHeld())
        return;
    hold.release();
    QDir(folder.filePath()).removeRecursively();
}

} // namespace

PrivateFolder::PrivateFolder(const QString& parent, const QString& prefix)
    : mFolder(parent + u'/' + prefix + QLatin1String("XXXXXX")), mHold(mFolder.path())
{
    if (!isValid())
        return;
    const uint owner = QFileInfo(path()).ownerId();
    const QStringList pattern = {prefix + QLatin1String("??????")};
    for (const QFileInfo& folder : QDir(parent).entryInfoList(pattern, QDir::Dirs | QDir::Hidden))
        removeIfLeft(folder, owner);
}

PrivateFolder::~PrivateFolder()
{
    // Windows removes no folder that is held.
    mHold.release();
}
