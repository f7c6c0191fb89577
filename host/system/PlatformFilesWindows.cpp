#include <aclapi.h>
#include <array>
#include <fcntl.h>
#include <io.h>
#include <memory>
#include <qt_windows.h>

#include "host/system/NativePath.h"
#include "host/system/PlatformFiles.h"
#include "process/Files.h"

using namespace Qt::StringLiterals;

namespace Platform {

namespace {

struct HandleCloser
{
    void operator()(void* handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, HandleCloser>;

std::wstring native(const QString& path)
{
    return NativePath::toNative(path).native();
}

QString result(BOOL done)
{
    return done ? QString() : qt_error_string();
}

Handle openForFacts(const QString& path, DWORD more = 0)
{
    const HANDLE handle = CreateFileW(native(path).c_str(), FILE_READ_ATTRIBUTES,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | more, nullptr);
    return Handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

qint64 wide(DWORD high, DWORD low)
{
    return qint64(quint64(high) << 32 | low);
}

// The system counts tenths of microseconds from 1601 on; as nanoseconds they would not fit.
constexpr qint64 kTicksTo1970 = 116'444'736'000'000'000;

qint64 nanoseconds(const FILETIME& time)
{
    return (wide(time.dwHighDateTime, time.dwLowDateTime) - kTicksTo1970) * 100;
}

FILETIME timeOf(qint64 ns)
{
    const qint64 ticks = ns / 100 + kTicksTo1970;
    return {DWORD(ticks), DWORD(ticks >> 32)};
}

} // namespace

std::optional<FileFacts> factsOf(const QString& path, QString* reason)
{
    const Handle file = openForFacts(path);
    BY_HANDLE_FILE_INFORMATION info = {};
    if (!file || !GetFileInformationByHandle(file.get(), &info)) {
        if (reason)
            *reason = qt_error_string();
        return {};
    }
    FileFacts facts;
    facts.kind = info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY ? FileFacts::Folder
                 : GetFileType(file.get()) == FILE_TYPE_DISK      ? FileFacts::Regular
                                                                  : FileFacts::Other;
    facts.bytes = wide(info.nFileSizeHigh, info.nFileSizeLow);
    facts.device = info.dwVolumeSerialNumber;
    facts.number = quint64(wide(info.nFileIndexHigh, info.nFileIndexLow));
    facts.links = info.nNumberOfLinks;
    facts.mode = info.dwFileAttributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    facts.modifiedNs = nanoseconds(info.ftLastWriteTime);
    facts.accessedNs = nanoseconds(info.ftLastAccessTime);
    return facts;
}

QString finalPath(const QString& path)
{
    const QString place = NativePath::absolute(path);
    const DWORD attributes = GetFileAttributesW(native(place).c_str());
    // Junctions too: all that leads elsewhere.
    const bool isLink = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT);
    const Handle file = isLink ? openForFacts(place) : Handle();
    std::array<wchar_t, 32768> name;
    const DWORD length = file ? GetFinalPathNameByHandleW(file.get(), name.data(), DWORD(name.size()), 0) : 0;
    if (length == 0 || length >= name.size())
        return place;
    return NativePath::fromNative(std::wstring(name.data(), length));
}

int openForReading(const QString& path, QString& reason)
{
    const HANDLE handle = CreateFileW(native(path).c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        reason = qt_error_string();
        return -1;
    }
    return _open_osfhandle(reinterpret_cast<intptr_t>(handle), _O_RDONLY | _O_BINARY);
}

// The standard library of one compiler reads no folder whose path is long, and takes junctions for folders.
std::vector<FolderEntry> entriesOf(const QString& folder, QString* reason)
{
    std::vector<FolderEntry> entries;
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW(native(NativePath::join(folder, u"*"_s)).c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        if (reason)
            *reason = qt_error_string();
        return entries;
    }
    do {
        const QString name = QString::fromWCharArray(found.cFileName);
        const bool isLink = found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT;
        const bool isFolder = found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY;
        if (name != u'.' && name != ".."_L1)
            entries.push_back({name, isFolder && !isLink, !isFolder && !isLink});
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return entries;
}

bool makeLink(const QString& target, const QString& link, bool isFolder)
{
    constexpr DWORD kUnprivileged = 2;
    const DWORD flags = kUnprivileged | (isFolder ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0);
    return CreateSymbolicLinkW(native(link).c_str(), native(target).c_str(), flags) ||
           (!isFolder && !Files::link(native(target), native(link)));
}

// The access list goes with the place, and the owner of a new file is who made it.
quint32 owner()
{
    return FileFacts().owner;
}

// A new file has taken over its folder's access list, and the private folder its parent's: as if it had been
// made in its place. What replaces another gets that one's.
QString makeAlike(const QString& from, const FileFacts& facts, const QString& to, bool isReplacement)
{
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    std::wstring source = native(from);
    std::wstring target = native(to);
    if (isReplacement &&
        GetNamedSecurityInfoW(source.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                              &list, nullptr, &descriptor) == ERROR_SUCCESS) {
        SetNamedSecurityInfoW(target.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                              list, nullptr);
        LocalFree(descriptor);
    }
    const DWORD kept = facts.mode & FILE_ATTRIBUTE_HIDDEN;
    return result(SetFileAttributesW(target.c_str(), kept ? kept : FILE_ATTRIBUTE_NORMAL));
}

QString setTimes(const QString& path, const FileFacts& facts)
{
    const HANDLE handle =
        CreateFileW(native(path).c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return qt_error_string();
    const Handle file(handle);
    const FILETIME accessed = timeOf(facts.accessedNs);
    const FILETIME modified = timeOf(facts.modifiedNs);
    return result(SetFileTime(handle, nullptr, &accessed, &modified));
}

bool makeFolder(const QString& path, quint32 mode, QString& reason)
{
    const bool isNew = CreateDirectoryW(native(path).c_str(), nullptr) != 0;
    reason = isNew || GetLastError() == ERROR_ALREADY_EXISTS ? QString() : qt_error_string();
    // A leading dot hides nothing here.
    if (isNew && (mode & 077) == 0 && NativePath::fileName(path).startsWith(u'.'))
        SetFileAttributesW(native(path).c_str(), FILE_ATTRIBUTE_HIDDEN);
    return isNew;
}

qint64 longestName(const QString&)
{
    return 255;
}

std::optional<qint64> startOf(qint64 process)
{
    const Handle opened(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, DWORD(process)));
    // Refused is not gone.
    if (!opened)
        return GetLastError() == ERROR_INVALID_PARAMETER ? std::nullopt : std::optional<qint64>(0);
    DWORD status = 0;
    if (GetExitCodeProcess(opened.get(), &status) && status != STILL_ACTIVE)
        return {};
    FILETIME made = {};
    FILETIME other[3] = {};
    const bool isKnown = GetProcessTimes(opened.get(), &made, &other[0], &other[1], &other[2]);
    return isKnown ? wide(made.dwHighDateTime, made.dwLowDateTime) : 0;
}

} // namespace Platform
