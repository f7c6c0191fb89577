#include "host/system/PrivateFolder.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QFile>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSysInfo>
#include <QThread>

#include <algorithm>
#include <fstream>

#include "host/system/NativePath.h"
#include "host/system/PlatformFiles.h"

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 kOwnMode = 0700;
constexpr int kMaxTries = 100;
constexpr int kRemoveTries = 5;
constexpr int kRemovePauseMs = 20;
constexpr int kMachineDigits = 8;
constexpr int kStartBase = 36; // names are to be short

// Whose processes are seen here: many machines of one disk may go by one name or be copies of one image, and
// a container sees only its own processes.
const QString& machine()
{
    // Asked for each output folder, and the same throughout a run.
    static const QString kMachine = [] {
        const QByteArray text = QSysInfo::machineHostName().toUtf8() + '\n' + QSysInfo::machineUniqueId() +
                                '\n' + QFile::symLinkTarget(u"/proc/self/ns/pid"_s).toUtf8();
        return QString::fromLatin1(
            QCryptographicHash::hash(text, QCryptographicHash::Sha1).toHex().left(kMachineDigits));
    }();
    return kMachine;
}

// Without the prefix and what is random.
QString ownName()
{
    const qint64 process = QCoreApplication::applicationPid();
    return u"%1-%2-%3-"_s.arg(machine()).arg(process).arg(Platform::startOf(process).value_or(0), 0,
                                                          kStartBase);
}

// Whether the name is one that a process of this machine has given, and that process is gone.
bool isLeft(const QString& name)
{
    static const QRegularExpression kName(u"^([0-9a-f]{8})-([0-9]{1,9})-([0-9a-z]{1,12})-[0-9a-f]{4}$"_s);
    const QRegularExpressionMatch match = kName.match(name);
    if (!match.hasMatch() || match.captured(1) != machine())
        return false;
    const auto start = Platform::startOf(match.captured(2).toLongLong());
    // Another process may have the number by now. Where starts are not known, they are 0.
    return !start || (*start != 0 && *start != match.captured(3).toLongLong(nullptr, kStartBase));
}

// What lies in a private folder: the program's own files by number, with whatever an encoder or a library
// adds to the name while it writes, and what the module makes in the temporary location.
bool isOwnName(const QString& name, bool isFolder, int depth)
{
    static const QRegularExpression kFile(u"^(\\d+(\\..*)?|progress_\\d+\\.txt|\\.vx-[0-9a-z]+(\\..*)?)$"_s);
    static const QRegularExpression kModuleFolder(u"^compress(\\w{6})?$"_s);
    static const QRegularExpression kModuleFile(u"^(temporaryImage_[12]|source)\\..*$"_s);
    if (isFolder)
        return depth == 0 && kModuleFolder.match(name).hasMatch();
    return (depth == 0 ? kFile : kModuleFile).match(name).hasMatch();
}

bool isUnderstood(const QString& folder, int depth = 0)
{
    QString unread;
    const auto entries = Platform::entriesOf(folder, &unread);
    return unread.isEmpty() && std::all_of(entries.begin(), entries.end(), [&](const auto& entry) {
               return isOwnName(entry.name, entry.isFolder, depth) &&
                      (!entry.isFolder || isUnderstood(NativePath::join(folder, entry.name), depth + 1));
           });
}

// A full disk still makes folders. Returns why a file in it cannot be written.
QString probe(const QString& folder)
{
    const QString path = NativePath::join(folder, u"0"_s);
    std::ofstream file(NativePath::toNative(path), std::ios::binary);
    file.put('0');
    file.close();
    QString error = file ? QString() : qt_error_string();
    Platform::removeTree(path);
    return error;
}

} // namespace

PrivateFolder::PrivateFolder(const QString& parent, const char* prefix)
{
    const QString name = NativePath::join(parent, QLatin1String(prefix) + ownName());
    for (int tries = 0; tries < kMaxTries; ++tries) {
        mPath = name + u"%1"_s.arg(QRandomGenerator::system()->bounded(0x10000), 4, 16, QChar(u'0'));
        if (Platform::makeFolder(mPath, kOwnMode, mError)) {
            mError = probe(mPath);
            if (mError.isEmpty())
                return;
            remove();
        }
        if (!mError.isEmpty())
            break;
    }
    if (mError.isEmpty())
        mError = u"no free name"_s;
    mPath.clear();
}

PrivateFolder::~PrivateFolder()
{
    remove();
}

QString PrivateFolder::newPath(const QString& suffix)
{
    const QString number = QString::number(++mNames);
    return NativePath::join(mPath, suffix.isEmpty() ? number : number + u'.' + suffix);
}

void PrivateFolder::remove()
{
    if (mPath.isEmpty())
        return;
    constexpr int kTries = 3; // something may still be writing
    for (int tries = 0; tries < kTries && !Platform::removeTree(mPath); ++tries) {
    }
}

void PrivateFolder::sweep(const QString& parent, const char* prefix)
{
    const QString begin = QLatin1String(prefix);
    for (const Platform::FolderEntry& entry : Platform::entriesOf(parent)) {
        const QString folder = NativePath::join(parent, entry.name);
        if (!entry.isFolder || !entry.name.startsWith(begin) || !isLeft(entry.name.mid(begin.size())))
            continue;
        if (const auto facts = Platform::factsOf(folder); !facts || facts->owner != Platform::owner())
            continue;
        // What the killed run had started may take a moment to die, and until then write.
        for (int tries = 0; tries < kRemoveTries && isUnderstood(folder); ++tries) {
            if (Platform::removeTree(folder))
                break;
            QThread::msleep(kRemovePauseMs);
        }
    }
}
