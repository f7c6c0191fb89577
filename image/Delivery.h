#pragma once

#include <QFileDevice>
#include <QString>

#include <optional>

enum class Sameness
{
    Different,
    Same,
    Unknown
};

/// Whether both paths lead to one existing file: links, relative spellings, drive letters and the case
/// folding of the file system are seen through. Unknown when both exist and the system won't tell.
Sameness sameness(const QString& path, const QString& other);

/// For guards of the source: "yes" also when that cannot be told.
bool isSameFile(const QString& path, const QString& other);

/// Where a file that is written at `path` comes to lie: the same, or the end of a symbolic link.
QString finalPath(const QString& path);

/// A short name beside a file, in its folder, that nobody has.
QString privateNameBeside(const QString& path, const QString& suffix = {});

/// Copies a file to a name that is free. Its reader and its writer wait for no disk: for copies that live for
/// a moment. False leaves none behind.
bool copyFile(const QString& from, const QString& to);

/// Puts a copy of the file at `from` to `to`, whole or not at all: it is written beside `to` and renamed.
/// On false an existing file at `to` is as it was, and where none existed there is none. The copy has the
/// given permissions, or else those of the file that it replaces.
bool deliverFile(const QString& from, const QString& to,
                 const std::optional<QFileDevice::Permissions>& permissions = {});

/// Puts a copy of the source, with its permissions, in place of a result. `from` is the source or a copy of
/// it.
bool deliverSource(const QString& from, const QString& source, const QString& to);

/// Removes an output that a failed or stopped encoder left behind, unless it is the source itself. A symbolic
/// link stays, and what it leads to goes. False when something of it is left.
bool removeFailedOutput(const QString& outputPath, const QString& inputPath);

/// Whether the last bytes of an output may not have been written: its disk is all but full, and nothing in
/// the output says that it is whole.
bool mayBeCutByFullDisk(const QString& outputPath);
