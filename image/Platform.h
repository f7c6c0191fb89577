#pragma once

#include <QProcess>
#include <QString>

#include <array>

/// All that differs between the systems the module runs on.
namespace Platform {

/// The file name of an encoder: "cJpeg" is "cJpeg.exe" on Windows.
QString executableName(const char* tool);

/// Whether a run ended by QProcess::kill(). On Unix that is a death by SIGKILL, whoever sent it; Windows
/// has no such thing and gives a killed process an exit code of its own.
bool wasKilled(int exitCode, QProcess::ExitStatus exitStatus);

/// Whether the encoder broke down, by signal or by a code that only a breakdown has.
bool hasCrashed(int exitCode, QProcess::ExitStatus exitStatus);

/// Whether the exit code of an encoder that somebody else ends may be 0.
extern const bool kKillMayLookLikeSuccess;

/// What tells one file from all others, whatever name or link leads to it.
struct FileId
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
FileId fileId(const QString& path);

/// A named pipe among the files: whoever opens it waits for its writer, perhaps for ever.
bool isPipe(const QString& path);

/// Removes a file. Windows: tried again for up to a second while another program holds it.
bool removeFile(const QString& path);
/// Removes a folder with everything in it; as above.
bool removeFolder(const QString& path);
/// Renames a file over another one, or to a free name, in one step; as above. Both lie on one volume.
bool replaceFile(const QString& from, const QString& to);

/// Whether a path begins with a drive's letter, such as "C:name", which is relative.
bool namesADrive(const QString& path);

/// Gives a file a second name, by a link of whatever kind the system allows.
bool linkFile(const QString& target, const QString& link);

/// Whether a program that reads its command line in the system's 8-bit encoding gets this path right.
bool isPlainForTools(const QString& path);

} // namespace Platform
