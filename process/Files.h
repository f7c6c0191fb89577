#pragma once

#include <QString>

#include <array>
#include <filesystem>
#include <functional>
#include <system_error>

/// What the systems do differently about files, for the module and its host.
namespace Files {

using Path = std::filesystem::path;

/// A path of Qt's as the system's own calls take it, at any length.
Path native(const QString& path);

/// What tells one file from all others, whatever name or link leads to it.
struct Id
{
    enum State
    {
        Missing,
        Unknown, ///< something is there, and the system would not say what
        Known
    };

    State state = Missing;
    std::array<quint64, 3> id{}; ///< when Known: its volume and its number there
};
Id idOf(const Path& path);

/// A named pipe among the files: whoever opens it waits for its writer, perhaps for ever.
bool isPipe(const Path& path);

/// Windows: calls `attempt` again, for up to a second, while it fails because another program holds the file;
/// scanners and previews do so with fresh ones. Elsewhere nobody holds a file up, and it is called once. The
/// error is that of the last attempt, which leaves it where the system's calls do.
std::error_code whileHeld(const std::function<bool()>& attempt);

/// These try again while a file is held.
std::error_code remove(const Path& file);
std::error_code removeFolder(const Path& emptyFolder);
/// A file, a link, or a folder with everything in it; nothing that a link leads to. What is missing is no
/// error.
std::error_code removeTree(const Path& path);
/// Renames in one step, on one volume. With `replace` what lies at `to` gives way; without it, an existing
/// file there is an error.
std::error_code rename(const Path& from, const Path& to, bool replace);

/// A copy of the content, over what lies at `to`; it shares the blocks where the file system can.
std::error_code copy(const Path& from, const Path& to);

/// Gives a file a second name, by a link of the kind that every user may make.
std::error_code link(const Path& target, const Path& link);

/// Whether a path begins with a drive's letter, such as "C:name", which is relative.
bool namesADrive(const QString& path);

} // namespace Files
