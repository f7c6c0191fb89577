#pragma once

#include <QString>
#include <QTemporaryDir>

#include "host/Platform.h"

/// A folder for this run and this user alone, removed with everything in it when the object goes. One that a
/// killed run left behind is removed by the next run that makes a folder in the same place.
class PrivateFolder
{
public:
    /// Makes `parent`/`prefix``six characters`. A failure shows in isValid().
    PrivateFolder(const QString& parent, const QString& prefix);
    ~PrivateFolder();
    Q_DISABLE_COPY_MOVE(PrivateFolder)

    bool isValid() const { return mFolder.isValid(); }
    QString path() const { return mFolder.path(); }
    QString filePath(const QString& name) const { return mFolder.filePath(name); }
    QString errorString() const { return mFolder.errorString(); }

private:
    QTemporaryDir mFolder;
    Platform::FolderHold mHold;
};
