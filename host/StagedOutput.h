#pragma once

#include <QString>

#include "host/PrivateFolder.h"

/// A result that is written in a private folder beside its place and shows up there only when it is whole:
/// renamed, in one step. Until then whatever lies at the output path stays as it is; after a job that failed,
/// was interrupted or killed, too.
class StagedOutput
{
public:
    /// `replace`: an existing file at `outputPath` gives way to the result. A failure shows in isValid().
    StagedOutput(const QString& outputPath, bool replace);

    bool isValid() const { return mFolder.isValid(); }
    QString errorString() const { return mFolder.errorString(); }

    /// Where the job writes. It has the output's own file name.
    QString path() const { return mPath; }

    /// Moves the result to its place. Returns what went wrong, or an empty text.
    QString deliver();

    /// Where a result for `outputPath` comes to lie: a symbolic link stays, and what it points to is
    /// replaced.
    static QString finalPath(const QString& outputPath);

private:
    QString mFinalPath;
    bool mReplace;
    PrivateFolder mFolder;
    QString mPath;
};
