#include <QDeadlineTimer>
#include <QDir>

#include <cstring>
#include <memory>
#include <qt_windows.h>

#include "process/Files.h"

using namespace Qt::StringLiterals;

namespace Files {

namespace {

constexpr std::chrono::seconds kHeldTimeout{1};
constexpr DWORD kHeldPauseMs = 20;

struct HandleCloser
{
    void operator()(void* handle) const { CloseHandle(handle); }
};

std::error_code lastError()
{
    return {int(GetLastError()), std::system_category()};
}

// A rename over an open file is an "access denied".
bool isHeld(int error)
{
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
           error == ERROR_ACCESS_DENIED || error == ERROR_USER_MAPPED_FILE;
}

} // namespace

// Such a form is taken as it stands, dots and all.
Path native(const QString& path)
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

Id idOf(const Path& path)
{
    const HANDLE handle = CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        for (const DWORD absent : {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME,
                                   ERROR_BAD_NETPATH, ERROR_BAD_NET_NAME, ERROR_INVALID_DRIVE}) {
            if (GetLastError() == absent)
                return {};
        }
        return {Id::Unknown, {}};
    }
    const std::unique_ptr<void, HandleCloser> file(handle);
    FILE_ID_INFO info = {};
    BY_HANDLE_FILE_INFORMATION older = {};
    if (GetFileInformationByHandleEx(handle, FileIdInfo, &info, sizeof info)) {
        Id found{Id::Known, {info.VolumeSerialNumber}};
        std::memcpy(&found.id[1], &info.FileId, sizeof info.FileId);
        return found;
    }
    // File systems without long numbers, such as FAT's. Both paths of a comparison take this way then.
    if (GetFileInformationByHandle(handle, &older)) {
        return {Id::Known,
                {older.dwVolumeSerialNumber, (quint64(older.nFileIndexHigh) << 32) | older.nFileIndexLow}};
    }
    return {Id::Unknown, {}};
}

// They lie apart from files there.
bool isPipe(const Path&)
{
    return false;
}

std::error_code whileHeld(const std::function<bool()>& attempt)
{
    const QDeadlineTimer deadline(kHeldTimeout);
    while (!attempt()) {
        const std::error_code error = lastError();
        if (!isHeld(error.value()) || deadline.hasExpired())
            return error;
        Sleep(kHeldPauseMs);
    }
    return {};
}

std::error_code remove(const Path& file)
{
    return whileHeld([&file] { return DeleteFileW(file.c_str()) != 0; });
}

std::error_code removeFolder(const Path& emptyFolder)
{
    return whileHeld([&emptyFolder] { return RemoveDirectoryW(emptyFolder.c_str()) != 0; });
}

// The standard library of one compiler reads no folder whose path is long, and takes junctions for folders.
std::error_code removeTree(const Path& path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        const std::error_code error = lastError();
        const bool isGone = error.value() == ERROR_FILE_NOT_FOUND || error.value() == ERROR_PATH_NOT_FOUND;
        return isGone ? std::error_code() : error;
    }
    if (attributes & FILE_ATTRIBUTE_READONLY)
        SetFileAttributesW(path.c_str(), attributes & DWORD(~FILE_ATTRIBUTE_READONLY));
    if (!(attributes & FILE_ATTRIBUTE_DIRECTORY))
        return Files::remove(path);
    WIN32_FIND_DATAW found = {};
    const bool isLink = attributes & FILE_ATTRIBUTE_REPARSE_POINT;
    const HANDLE search = isLink ? INVALID_HANDLE_VALUE : FindFirstFileW((path / L"*").c_str(), &found);
    if (search != INVALID_HANDLE_VALUE) {
        do {
            const std::wstring_view name = found.cFileName;
            if (name != L"." && name != L"..")
                removeTree(path / name);
        } while (FindNextFileW(search, &found));
        FindClose(search);
    }
    return removeFolder(path);
}

std::error_code rename(const Path& from, const Path& to, bool replace)
{
    const DWORD flags = MOVEFILE_WRITE_THROUGH | (replace ? MOVEFILE_REPLACE_EXISTING : 0);
    return whileHeld([&] { return MoveFileExW(from.c_str(), to.c_str(), flags) != 0; });
}

std::error_code copy(const Path& from, const Path& to)
{
    return CopyFileW(from.c_str(), to.c_str(), FALSE) ? std::error_code() : lastError();
}

// Symbolic links need a right that few users have; hard links need one volume.
std::error_code link(const Path& target, const Path& link)
{
    return CreateHardLinkW(link.c_str(), target.c_str(), nullptr) ? std::error_code() : lastError();
}

bool namesADrive(const QString& path)
{
    return path.indexOf(u':') == 1;
}

} // namespace Files
