#pragma once

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

#include <memory>

#include "host/job/JobResult.h"
#include "host/system/PrivateFolder.h"

/// The private folders beside outputs, shared by the jobs that write to one place at a time. The first job of
/// a place sweeps it of what killed runs have left.
class StagingFolders
{
public:
    /// Removes what killed runs have left in `folder`, once a run.
    void sweep(const QString& folder);

    /// Opens the private folder for results that go to `folder`. Where that is not there, it is made, and
    /// lets in whom `model` lets in, the input's folder; without a model it is a failure.
    Failure open(const QString& folder, const QString& model, std::shared_ptr<PrivateFolder>& opened);

    /// A job is through with its output's folder. Without a result there, what was made for it goes again, as
    /// far as nothing else is in it.
    void leave(const QString& folder, bool hasResult);

    /// For a run that ends at once.
    void removeAll();

private:
    Failure make(const QString& folder, const QString& model);
    std::shared_ptr<PrivateFolder> in(const QString& folder);

    QHash<QString, std::weak_ptr<PrivateFolder>> mLiving;
    QSet<QString> mMade;   ///< by this run, and still without a result
    QList<QString> mSwept; ///< the latest, since a tree is walked folder by folder
};
