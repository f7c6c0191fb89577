#pragma once

#include <QFile>
#include <QString>

#include <optional>

#include "host/job/Options.h"
#include "host/system/PrivateFolder.h"

/// One input as it was found.
struct Input
{
    QString path;
    /// Where it lies below the folder, or the list's folder, that it came by; else its name.
    QString relative;
};

/// All inputs of a command line: files, walked folders, lists. They are found once and kept in a file of the
/// private folder, so that what happens to the tree meanwhile (this program's own outputs above all) changes
/// nothing, and so that a hundred thousand take no more memory than ten.
class InputList
{
public:
    /// `folder` keeps the list. Both outlive it.
    InputList(const Options& options, PrivateFolder& folder);

    /// Returns what is wrong with a list or a folder as a whole, or an empty text.
    QString collect();

    /// From the beginning, one after the other.
    void rewind();
    std::optional<Input> next();

    /// Of the options' part alone.
    qint64 count() const { return mCount; }
    /// Files of walked folders that are no media by their names.
    qint64 ignored() const { return mIgnored; }
    /// Whether a folder or a list was among them: then the output is a folder.
    bool isMany() const { return mIsMany; }

private:
    QString collectNamed(const QString& path, bool isFromList);
    QString collectList();
    QString walk(const QString& folder, const QString& relative);
    void add(const QString& path, const QString& relative, const QString& name);

    const Options& mOptions;
    QFile mFile;
    qint64 mCount = 0;
    qint64 mIgnored = 0;
    bool mIsMany = false;
};
