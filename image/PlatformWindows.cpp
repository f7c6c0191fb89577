#include "image/Platform.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>

#include <cstring>
#include <qt_windows.h>

#include "compressor/FinishCode.h"

using namespace Qt::StringLiterals;

namespace Platform {

namespace {

constexpr int kHeldTimeoutMs = 1000;
constexpr DWORD kHeldPauseMs = 20;
// What abort() ends with.
constexpr int kAbortCode = 3;
// NTSTATUS codes of severity "error": those of unhandled exceptions.
constexpr quint32 kFirstErrorStatus = 0xC0000000;

// A path as native calls take it at any length; such a form is taken as it stands, dots and all.
std::wstring nativePath(const QString& path)
{
    QString native = QDir::toNativeSeparators(QDir::cleanPath(QDir::current().absoluteFilePath(path)));
    if (native.startsWith("\\\\?\\"_L1) || native.startsWith("\\\\.\\"_L1))
        return native.toStdWString();
    if (native.startsWith("\\\\"_L1))
        native.replace(0, 1, "\\\\?\\UNC"_L1);
    else
        native.prepend("\\\\?\\"_L1);
    return native.toStdWString();
}

// Virus scanners and previews hold a fresh file for a moment. A rename over an open file is an "access
// denied".
template <class Attempt>
bool retryWhileHeld(const Attempt& attempt)
{
    const QDeadlineTimer deadline(kHeldTimeoutMs);
    while (!attempt()) {
        const DWORD error = GetLastError();
        const bool held =
            error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION || error == ERROR_ACCESS_DENIED;
        if (!held || deadline.hasExpired())
            return false;
        Sleep(kHeldPauseMs);
    }
    return true;
}

} // namespace

QString executableName(const char* tool)
{
    return QLatin1String(tool) + ".exe"_L1;
}

bool wasKilled(int exitCode, QProcess::ExitStatus)
{
    return exitCode == FinishCode::kStopped;
}

bool hasCrashed(int exitCode, QProcess::ExitStatus exitStatus)
{
    return exitStatus == QProcess::CrashExit || exitCode == kAbortCode ||
           static_cast<quint32>(exitCode) >= kFirstErrorStatus;
}

const bool kKillMayLookLikeSuccess = true;

FileId fileId(const QString& path)
{
    const HANDLE file = CreateFileW(nativePath(path).c_str(), FILE_READ_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        for (const DWORD absent : {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME,
                                   ERROR_BAD_NETPATH, ERROR_BAD_NET_NAME, ERROR_INVALID_DRIVE}) {
            if (GetLastError() == absent)
                return {};
        }
        return {FileId::Unknown, {}};
    }
    FileId found{FileId::Unknown, {}};
    FILE_ID_INFO info = {};
    BY_HANDLE_FILE_INFORMATION older = {};
    if (GetFileInformationByHandleEx(file, FileIdInfo, &info, sizeof info)) {
        found = {FileId::Known, {info.VolumeSerialNumber}};
        std::memcpy(&found.id[1], &info.FileId, sizeof info.FileId);
    } else if (GetFileInformationByHandle(file, &older)) {
        // File systems without long numbers, such as FAT's. Both paths of a comparison take this way then.
        found = {FileId::Known,
                 {older.dwVolumeSerialNumber, (quint64(older.nFileIndexHigh) << 32) | older.nFileIndexLow}};
    }
    CloseHandle(file);
    return found;
}

// They lie apart from files there.
bool isPipe(const QString&)
{
    return false;
}

bool removeFile(const QString& path)
{
    const std::wstring native = nativePath(path);
    return retryWhileHeld([&native] { return DeleteFileW(native.c_str()) != 0; });
}

bool removeFolder(const QString& path)
{
    return retryWhileHeld([&path] {
        if (QDir(path).removeRecursively())
            return true;
        SetLastError(ERROR_SHARING_VIOLATION);
        return false;
    });
}

bool replaceFile(const QString& from, const QString& to)
{
    const std::wstring nativeFrom = nativePath(from);
    const std::wstring nativeTo = nativePath(to);
    return retryWhileHeld([&] {
        return MoveFileExW(nativeFrom.c_str(), nativeTo.c_str(),
                           MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
    });
}

bool namesADrive(const QString& path)
{
    return path.indexOf(u':') == 1;
}

// Symbolic links need a right that few users have; hard links need one volume.
bool linkFile(const QString& target, const QString& link)
{
    return CreateHardLinkW(nativePath(link).c_str(), nativePath(target).c_str(), nullptr) != 0;
}

// cJpeg and pngquant take their arguments from main(), which Windows fills in the process's code page.
bool isPlainForTools(const QString& path)
{
    return QString::fromLocal8Bit(path.toLocal8Bit()) == path;
}

} // namespace Platform
