#include "host/system/PrivateFolder.h"

#include <QDateTime>
#include <QFile>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QThread>

#include <algorithm>

#include "host/system/NativePath.h"

using namespace Qt::StringLiterals;

namespace {

constexpr char kMarkName[] = "vxcompress-mark";
constexpr char kMarkTitle[] = "vxcompress private folder 1";
constexpr int kRandomLetters = 6;
constexpr int kCheckLetters = 2;
constexpr int kMaxTries = 100;
constexpr int kSweepTries = 5;
constexpr int kSweepPauseMs = 20;
constexpr qint64 kBareMarkMs = 3'600'000;

QChar letter(quint32 number)
{
    number %= 52;
    return QChar(number < 26 ? u'a' + number : u'A' + number - 26);
}

// The last two are made of the others: what a kill leaves without a mark is known by its name.
QString withCheck(const QString& letters)
{
    quint32 sum = 17;
    for (const QChar each : letters)
        sum = sum * 31 + each.unicode();
    return letters + letter(sum) + letter(sum / 52);
}

QString randomLetters()
{
    QString letters;
    while (letters.size() < kRandomLetters - kCheckLetters)
        letters += letter(QRandomGenerator::system()->generate());
    return withCheck(letters);
}

QByteArray markContent()
{
    const Platform::ProcessIdentity own = Platform::ProcessIdentity::own();
    return u"%1\n%2\n%3\n%4\n%5\n"_s
        .arg(QLatin1String(kMarkTitle), own.user, own.host, QString::number(own.process), own.started)
        .toUtf8();
}

std::optional<Platform::ProcessIdentity> readMark(const QString& path)
{
    const auto facts = Platform::factsOf(path);
    if (Platform::isLink(path) || !facts || facts->kind != Platform::FileFacts::Regular)
        return {};
    QFile file(NativePath::toNative(path));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QStringList lines = QString::fromUtf8(file.read(1024)).split(u'\n');
    if (lines.size() != 6 || lines.at(0) != QLatin1String(kMarkTitle))
        return {};
    return Platform::ProcessIdentity{lines.at(1), lines.at(2), lines.at(3).toLongLong(), lines.at(4)};
}

// What lies in a private folder: the program's own files by number, with whatever an encoder or a library
// adds to the name while it writes, and what the module makes in the temporary location.
bool isOwnName(const QString& name, bool isFolder, int depth)
{
    static const QRegularExpression kFile(
        u"^(\\d+(\\..*)?|progress_\\d+\\.txt|\\.diskprobe-\\w{6}|\\.vx-[0-9a-z]+(\\..*)?|%1)$"_s.arg(
            QLatin1String(kMarkName)));
    static const QRegularExpression kModuleFolder(u"^compress\\w{6}$"_s);
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

// Everything but the folder itself; false where something stays. The mark goes last: whoever is ended meanwhile
// leaves a folder that the next sweep takes up.
bool removeContents(const QString& folder, Platform::FileLock& mark)
{
    bool isRemoved = true;
    for (const Platform::FolderEntry& entry : Platform::entriesOf(folder)) {
        if (entry.name != QLatin1String(kMarkName))
            isRemoved = Platform::removeTree(NativePath::join(folder, entry.name)) && isRemoved;
    }
    if (!isRemoved)
        return false;
    // Windows removes no file that is held.
    mark.release();
    return Platform::removeTree(NativePath::join(folder, QLatin1String(kMarkName)));
}

// A kill came before its mark was written, or behind the mark's removal: then the name tells whose it is, and
// nothing in it has a single byte. A mark that another machine has written may be seen without its content for a
// while.
bool isBare(const QString& folder)
{
    const QString letters = NativePath::fileName(folder).right(kRandomLetters);
    if (withCheck(letters.chopped(kCheckLetters)) != letters)
        return false;
    const qint64 longAgo = QDateTime::currentMSecsSinceEpoch() - kBareMarkMs;
    QString unread;
    const auto entries = Platform::entriesOf(folder, &unread);
    return unread.isEmpty() && std::all_of(entries.begin(), entries.end(), [&](const auto& entry) {
               if (entry.name != QLatin1String(kMarkName) || !entry.isRegular)
                   return false;
               const auto facts = Platform::factsOf(NativePath::join(folder, entry.name));
               return facts && facts->bytes == 0 && facts->modifiedNs / 1'000'000 < longAgo;
           });
}

void removeIfLeft(const QString& folder, const Platform::ProcessIdentity& own)
{
    const QString mark = NativePath::join(folder, QLatin1String(kMarkName));
    if (!Platform::isOwnFolder(folder))
        return;
    Platform::FileLock lock;
    const auto maker = readMark(mark);
    if (!maker) {
        if (!isBare(folder))
            return;
        // A run that is just making it finds it gone before it has its mark there, and makes another.
        if (lock.take(mark))
            removeContents(folder, lock);
        Platform::removeEmptyFolder(folder);
        return;
    }
    // What another machine has made on a shared disk is that machine's to judge: its processes are not seen
    // here.
    if (maker->user != own.user || maker->host != own.host || maker->isAlive())
        return;
    // What the killed run had started may take a moment to die, and until then hold the mark or write.
    for (int tries = 0; tries < kSweepTries && isUnderstood(folder); ++tries) {
        if (tries > 0)
            QThread::msleep(kSweepPauseMs);
        if (lock.take(mark) && removeContents(folder, lock)) {
            Platform::removeEmptyFolder(folder);
            return;
        }
        lock.release();
    }
}

} // namespace

PrivateFolder::PrivateFolder(const QString& parent, const char* prefix)
{
    for (int tries = 0; tries < kMaxTries; ++tries) {
        mPath = NativePath::join(parent, QLatin1String(prefix) + randomLetters());
        if (Platform::makePrivateFolder(mPath, mError)) {
            mError = mMark.make(NativePath::join(mPath, QLatin1String(kMarkName)), markContent());
            if (mError.isEmpty())
                return;
            // Perhaps another run has taken it for one that was left.
            Platform::removeEmptyFolder(mPath);
        } else if (!mError.isEmpty()) {
            break;
        }
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
    for (int tries = 0; tries < kTries; ++tries) {
        if (removeContents(mPath, mMark) && Platform::removeTree(mPath))
            return;
    }
}

void PrivateFolder::sweep(const QString& parent, const char* prefix)
{
    const QString name = QLatin1String(prefix);
    const auto own = Platform::ProcessIdentity::own();
    for (const Platform::FolderEntry& entry : Platform::entriesOf(parent)) {
        const QString& found = entry.name;
        if (found.size() != name.size() + kRandomLetters || !found.startsWith(name))
            continue;
        if (std::all_of(found.begin() + name.size(), found.end(),
                        [](QChar letter) { return letter.unicode() < 128 && letter.isLetter(); }))
            removeIfLeft(NativePath::join(parent, found), own);
    }
}
