#include <QFile>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#ifdef Q_OS_LINUX
#include <sys/syscall.h>
#endif

#include "process/Files.h"

namespace Files {

namespace {

bool areOneFile(const Path& path, const Path& other)
{
    struct stat one = {};
    struct stat another = {};
    return lstat(path.c_str(), &one) == 0 && lstat(other.c_str(), &another) == 0 &&
           one.st_dev == another.st_dev && one.st_ino == another.st_ino;
}

std::error_code result(bool isDone)
{
    return isDone ? std::error_code() : std::error_code(errno, std::generic_category());
}

std::error_code renameNew(const Path& from, const Path& to)
{
#if defined(Q_OS_LINUX) && defined(SYS_renameat2)
    constexpr unsigned kNoReplace = 1;
    if (syscall(SYS_renameat2, AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), kNoReplace) == 0)
        return {};
    if (errno != EINVAL && errno != ENOSYS)
        return result(false);
#endif
    // A second name refuses an existing one as well. A network drive that had to ask twice reports its own
    // first success as a failure.
    if (::link(from.c_str(), to.c_str()) == 0 || (errno == EEXIST && areOneFile(from, to)))
        return result(unlink(from.c_str()) == 0);
    // A file system without either, such as a memory card's, has no better check than this.
    if (errno == EEXIST || access(to.c_str(), F_OK) == 0)
        return std::make_error_code(std::errc::file_exists);
    return result(::rename(from.c_str(), to.c_str()) == 0);
}

} // namespace

Path native(const QString& path)
{
    return QFile::encodeName(path).toStdString();
}

Id idOf(const Path& path)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) == 0)
        return {Id::Known, {quint64(status.st_dev), quint64(status.st_ino), 0}};
    for (const int absent : {ENOENT, ENOTDIR, ELOOP, ENAMETOOLONG}) {
        if (errno == absent)
            return {};
    }
    return {Id::Unknown, {}};
}

bool isPipe(const Path& path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

std::error_code whileHeld(const std::function<bool()>& attempt)
{
    return result(attempt());
}

std::error_code remove(const Path& file)
{
    return result(unlink(file.c_str()) == 0);
}

std::error_code removeFolder(const Path& emptyFolder)
{
    return result(rmdir(emptyFolder.c_str()) == 0);
}

std::error_code removeTree(const Path& path)
{
    std::error_code error;
    std::filesystem::remove_all(path, error);
    return error;
}

std::error_code rename(const Path& from, const Path& to, bool replace)
{
    return replace ? result(::rename(from.c_str(), to.c_str()) == 0) : renameNew(from, to);
}

std::error_code copy(const Path& from, const Path& to)
{
    std::error_code error;
    std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing, error);
    return error;
}

// Not a hard link, which would show in the file's own link count and time.
std::error_code link(const Path& target, const Path& link)
{
    std::error_code error;
    const Path absolute = std::filesystem::absolute(target, error);
    return error ? error : result(symlink(absolute.c_str(), link.c_str()) == 0);
}

bool namesADrive(const QString&)
{
    return false;
}

} // namespace Files
