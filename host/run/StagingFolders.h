#pragma once

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

#include <memory>

#include "host/system/PrivateFolder.h"

/// The private folders beside outputs, shared by the jobs that write to one place at a time. The first job of
/// a place sweeps it of what killed runs have left.
class StagingFolders
{
public:
    /// Removes what killed runs have left in `folder`, once a run.
    void sweep(const QString& folder);

    /// For results that go to `folder`, which is there. Never null; look at isValid().
    std::shared_ptr<PrivateFolder> in(const QString& folder);

    /// The run has made this folder for an output.
    void noteMade(const QString& folder) { mMade.insert(folder); }
    /// A job is through with its output's folder. Without a result there, what was made for it goes again, as far as
    /// nothing else is in it.
    void leave(const QString& folder, bool hasResult);

    /// For a run that ends at once.
    void removeAll();

private:
    QHash<QString, std::weak_ptr<PrivateFolder>> mLiving;
    QSet<QString> mMade;   ///< and still without a result
    QList<QString> mSwept; ///< the latest, since a tree is walked folder by folder
};
