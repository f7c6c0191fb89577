#include <QFile>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#ifdef Q_OS_LINUX
#include <sys/xattr.h>
#endif

#include "host/system/NativePath.h"
#include "host/system/PlatformFiles.h"

using namespace Qt::StringLiterals;

namespace Platform {

namespace {

constexpr int kMaxLinks = 40;

QString result(int returned)
{
    return returned == 0 ? QString() : qt_error_string();
}

qint64 nanoseconds(const timespec& time)
{
    return qint64(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

timespec timeOf(qint64 ns)
{
    return {time_t(ns / 1'000'000'000), long(ns % 1'000'000'000)};
}

#ifdef Q_OS_LINUX
// Access lists are among them. A file system without them has none to lose.
void copyExtendedAttributes(const char* from, const char* to)
{
    constexpr size_t kMost = size_t(64) * 1024; // as Linux allows
    std::array<char, kMost> names;
    std::array<char, kMost> value;
    const ssize_t bytes = listxattr(from, names.data(), names.size());
    for (ssize_t at = 0; at < bytes; at += ssize_t(std::strlen(names.data() + at)) + 1) {
        const char* const name = names.data() + at;
        const ssize_t size = getxattr(from, name, value.data(), value.size());
        if (size >= 0)
            setxattr(to, name, value.data(), size_t(size), 0);
    }
}
#endif

} // namespace

std::optional<FileFacts> factsOf(const QString& path, QString* reason)
{
    struct stat info = {};
    if (::stat(NativePath::toBytes(path).constData(), &info) != 0) {
        if (reason)
            *reason = qt_error_string();
        return {};
    }
    FileFacts facts;
    facts.kind = S_ISREG(info.st_mode)   ? FileFacts::Regular
                 : S_ISDIR(info.st_mode) ? FileFacts::Folder
                                         : FileFacts::Other;
    facts.bytes = info.st_size;
    facts.device = info.st_dev;
    facts.number = info.st_ino;
    facts.links = info.st_nlink;
    facts.mode = info.st_mode & 07777;
    facts.owner = info.st_uid;
    facts.group = info.st_gid;
    facts.modifiedNs = nanoseconds(info.st_mtim);
    facts.accessedNs = nanoseconds(info.st_atim);
    return facts;
}

QString finalPath(const QString& path)
{
    QString place = NativePath::absolute(path);
    for (int links = 0; links < kMaxLinks; ++links) {
        std::array<char, PATH_MAX> target;
        const ssize_t length = readlink(NativePath::toBytes(place).constData(), target.data(), target.size());
        if (length < 0)
            break;
        const QString to = NativePath::fromBytes(QByteArray(target.data(), length));
        // Not cleaned of "..": the folder before it may be a link itself.
        place = to.startsWith(u'/') ? to : NativePath::folder(place) + u'/' + to;
    }
    return place;
}

int openForReading(const QString& path, QString& reason)
{
    const int file = open(NativePath::toBytes(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
        reason = qt_error_string();
    return file;
}

std::vector<FolderEntry> entriesOf(const QString& folder, QString* reason)
{
    std::vector<FolderEntry> entries;
    std::error_code error;
    for (std::filesystem::directory_iterator it(NativePath::toNative(folder), error);
         !error && it != std::filesystem::directory_iterator(); it.increment(error)) {
        std::error_code unknown;
        const std::filesystem::file_type type = it->symlink_status(unknown).type();
        entries.push_back({NativePath::fromNative(it->path().filename()),
                           type == std::filesystem::file_type::directory,
                           type == std::filesystem::file_type::regular});
    }
    if (error && reason)
        *reason = QString::fromLocal8Bit(error.message().c_str());
    return entries;
}

bool makeLink(const QString& target, const QString& link, bool)
{
    return symlink(NativePath::toBytes(target).constData(), NativePath::toBytes(link).constData()) == 0;
}

quint32 owner()
{
    return geteuid();
}

QString makeAlike(const QString& from, const FileFacts& facts, const QString& to, bool isReplacement)
{
    const QByteArray target = NativePath::toBytes(to);
    mode_t mode = facts.mode & (isReplacement ? 07777 : 0777);
    const bool hasOwner = geteuid() == 0 && ::chown(target.constData(), facts.owner, facts.group) == 0;
    if (!hasOwner && isReplacement && ::chown(target.constData(), uid_t(-1), facts.group) != 0) {
        // The permissions of one group are not to go to another.
        mode &= mode_t(~(S_ISUID | S_ISGID | S_IRWXG));
    }
#ifdef Q_OS_LINUX
    if (isReplacement)
        copyExtendedAttributes(NativePath::toBytes(from).constData(), target.constData());
#else
    Q_UNUSED(from)
#endif
    // Behind the owner, whose change takes bits away.
    return result(chmod(target.constData(), mode));
}

QString setTimes(const QString& path, const FileFacts& facts)
{
    const timespec times[] = {timeOf(facts.accessedNs), timeOf(facts.modifiedNs)};
    return result(utimensat(AT_FDCWD, NativePath::toBytes(path).constData(), times, 0));
}

bool makeFolder(const QString& path, quint32 mode, QString& reason)
{
    const bool isNew = mkdir(NativePath::toBytes(path).constData(), mode) == 0;
    reason = isNew || errno == EEXIST ? QString() : qt_error_string();
    return isNew;
}

qint64 longestName(const QString& folder)
{
    const long bytes = pathconf(NativePath::toBytes(folder).constData(), _PC_NAME_MAX);
    return bytes > 0 ? bytes : NAME_MAX;
}

std::optional<qint64> startOf(qint64 process)
{
    if (::kill(pid_t(process), 0) != 0 && errno == ESRCH)
        return {};
    QFile file(u"/proc/%1/stat"_s.arg(process));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    // The 22nd field, in clock ticks since the machine's start; after the last bracket, as a name may have
    // any.
    constexpr int kStartField = 19;
    const QByteArray line = file.readAll();
    return line.mid(line.lastIndexOf(')') + 2).split(' ').value(kStartField).toLongLong();
}

} // namespace Platform
