#pragma once

#include <QString>

#include <optional>
#include <vector>

/// What differs between systems about files. Paths are in the text form of NativePath; texts that are
/// returned are the system's reasons, empty for success.
namespace Platform {

struct FileFacts
{
    enum Kind
    {
        Regular,
        Folder,
        Other
    };

    Kind kind = Other;
    qint64 bytes = 0;
    quint64 device = 0; ///< with `number`: the file itself, whatever its name
    quint64 number = 0;
    quint64 links = 1;
    quint32 mode = 0; ///< Unix permissions
    quint32 owner = 0;
    quint32 group = 0;
    qint64 modifiedNs = 0; ///< since 1970
    qint64 accessedNs = 0;

    bool isSameFile(const FileFacts& other) const { return device == other.device && number == other.number; }
    /// The same file with, by all that shows, the same content.
    bool isUnchanged(const FileFacts& other) const
    {
        return isSameFile(other) && bytes == other.bytes && modifiedNs == other.modifiedNs;
    }
};

/// Of the file that the path leads to, through links. Nothing when there is none; `reason` gets why.
std::optional<FileFacts> factsOf(const QString& path, QString* reason = nullptr);

/// Where a result for `path` comes to lie: a symbolic link stays, and what it points to is replaced.
QString finalPath(const QString& path);

/// Opens for reading; a pipe does not make it wait. Returns a descriptor for QFile::open(), or -1 and the
/// reason.
int openForReading(const QString& path, QString& reason);

/// Renames, in one step. With `replace` what lies at `to` gives way; without it an existing file is an error.
/// Retries for a second where another program holds the target.
QString rename(const QString& from, const QString& to, bool replace);

struct FolderEntry
{
    QString name;
    bool isFolder = false;  ///< and no link
    bool isRegular = false; ///< and no link
};
/// What lies in a folder, links as themselves. Nothing when it cannot be read: `reason` gets why.
std::vector<FolderEntry> entriesOf(const QString& folder, QString* reason = nullptr);

/// Removes a file, a link or a folder with everything in it, and nothing that a link leads to. False when
/// something is left.
bool removeTree(const QString& path);

/// Removes a folder that has nothing in it; false when it stays.
bool removeEmptyFolder(const QString& folder);

/// A new name for a file, in another folder: a symbolic link, or a hard one where the system allows no other.
bool makeLink(const QString& target, const QString& link, bool isFolder);

/// A copy with content only; shares the blocks where the file system can.
QString copy(const QString& from, const QString& to);
/// Whether two files have the same bytes. False when one cannot be read.
bool haveSameContent(const QString& path, const QString& other);

/// Whose files this process makes, as FileFacts::owner tells it: 0 is root, and everyone where owners are
/// none of its business.
quint32 owner();

/// Gives `to` the permissions of `from` and, as root, its owner. As a replacement it takes over owner or
/// group where that is allowed, extended attributes and access lists too: what lies at a path stays itself.
/// Never gives anyone more permissions than `from` does.
QString makeAlike(const QString& from, const FileFacts& facts, const QString& to, bool isReplacement);
QString setTimes(const QString& path, const FileFacts& facts);

/// Makes a folder with this mode, and hides one for this user alone where its name does not. False when it is
/// there or cannot be made: `reason` is empty in the former case.
bool makeFolder(const QString& path, quint32 mode, QString& reason);
/// The longest name in the folder that its file system takes, in bytes (Windows: letters).
qint64 longestName(const QString& folder);

/// When the process was started, on a scale of the system's own: it tells a process from an earlier one with
/// the same number. 0 where that is not known; nothing when there is no such process.
std::optional<qint64> startOf(qint64 process);

} // namespace Platform
