#include "host/plan/InputList.h"

#include <QDataStream>
#include <QDir>

#include <algorithm>
#include <cstdio>

#include "host/job/Format.h"
#include "host/system/NativePath.h"
#include "host/system/PathText.h"
#include "host/system/Platform.h"
#include "host/system/PlatformFiles.h"

using namespace Qt::StringLiterals;

namespace {

bool isMediaName(const QString& name)
{
    return Formats::kindOfName(NativePath::suffix(name)) != MediaKind::Unknown;
}

// ".." would lead out of the output folder, an absolute name has no place below it.
QString relativeOf(const QString& path)
{
    const QString clean = QDir::cleanPath(path);
    const bool leadsOut = clean == ".."_L1 || clean.startsWith("../"_L1);
    return leadsOut || QDir::isAbsolutePath(clean) ? NativePath::fileName(clean) : clean;
}

QString nameOf(const QByteArray& bytes)
{
#ifdef Q_OS_WIN
    return QDir::fromNativeSeparators(QString::fromUtf8(bytes.endsWith('\r') ? bytes.chopped(1) : bytes));
#else
    return NativePath::fromBytes(bytes);
#endif
}

} // namespace

InputList::InputList(const Options& options, PrivateFolder& folder)
    : mOptions(options), mFile(folder.newPath(u"list"_s))
{
}

QString InputList::collect()
{
    if (!mFile.open(QIODevice::ReadWrite | QIODevice::Truncate))
        return u"cannot write %1: %2"_s.arg(mFile.fileName(), mFile.errorString());
    QString error;
    for (const QString& path : mOptions.inputs) {
        if (error.isEmpty())
            error = collectNamed(path, false);
    }
    if (error.isEmpty() && !mOptions.filesFrom.isEmpty())
        error = collectList();
    mIsMany = mIsMany || mOptions.inputs.size() > 1 || !mOptions.filesFrom.isEmpty();
    if (error.isEmpty() && (!mFile.flush() || mFile.error() != QFileDevice::NoError))
        error = u"cannot write %1: %2"_s.arg(mFile.fileName(), mFile.errorString());
    rewind();
    return error;
}

QString InputList::collectNamed(const QString& path, bool isFromList)
{
    if (mOptions.recursive) {
        const auto facts = Platform::factsOf(path);
        if (facts && facts->kind == Platform::FileFacts::Folder) {
            mIsMany = true;
            return walk(path, isFromList ? relativeOf(path) : QString());
        }
    }
    const QString relative = isFromList ? relativeOf(path) : NativePath::fileName(path);
    // By what the output's place is made of: where two outputs would be one, one run has both.
    add(path, relative, mOptions.output.isEmpty() ? QDir::cleanPath(path) : relative);
    return {};
}

QString InputList::collectList()
{
    QFile list;
    QString reason;
    bool isOpen = false;
    if (mOptions.filesFrom == u'-') {
        isOpen = list.open(stdin, QIODevice::ReadOnly | QIODevice::Unbuffered);
    } else {
        const int file = Platform::openForReading(mOptions.filesFrom, reason);
        isOpen = file >= 0 && list.open(file, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    }
    if (!isOpen) {
        return u"cannot read %1: %2"_s.arg(shown(mOptions.filesFrom),
                                           reason.isEmpty() ? list.errorString() : reason);
    }
    const char end = mOptions.nullSeparated ? '\0' : '\n';
    QByteArray pending;
    QString error;
    while (error.isEmpty() && Platform::waitForInput(list.handle())) {
        constexpr qint64 kBlockBytes = qint64(64) * 1024;
        const QByteArray block = list.read(kBlockBytes);
        pending += block;
        qsizetype begun = 0;
        for (qsizetype at; error.isEmpty() && (at = pending.indexOf(end, begun)) >= 0; begun = at + 1) {
            if (at > begun)
                error = collectNamed(nameOf(pending.mid(begun, at - begun)), true);
        }
        pending.remove(0, begun);
        if (block.isEmpty())
            break;
    }
    if (error.isEmpty() && !pending.isEmpty())
        error = collectNamed(nameOf(pending), true);
    return error;
}

// Links are not followed: they would lead out of the tree, and in place change what lies elsewhere.
QString InputList::walk(const QString& folder, const QString& relative)
{
    QStringList files;
    QStringList folders;
    QString unread;
    for (const Platform::FolderEntry& entry : Platform::entriesOf(folder, &unread)) {
        if (entry.isFolder)
            folders.append(entry.name);
        else if (entry.isRegular)
            files.append(entry.name);
        else
            ++mIgnored;
    }
    if (!unread.isEmpty())
        return u"cannot read the folder %1: %2"_s.arg(shown(folder), unread);
    std::sort(files.begin(), files.end());
    std::sort(folders.begin(), folders.end());
    for (const QString& name : std::as_const(files)) {
        // What an earlier run made beside its inputs is no input.
        const bool isOutput = !mOptions.suffix.isEmpty() && mOptions.output.isEmpty() &&
                              NativePath::baseName(name).endsWith(mOptions.suffix);
        const QString below = NativePath::join(relative, name);
        if (isMediaName(name) && !isOutput)
            add(NativePath::join(folder, name), below, below);
        else
            ++mIgnored;
    }
    files.clear();
    for (const QString& name : std::as_const(folders)) {
        if (Platform::Interrupts::first())
            break;
        if (name.startsWith(QLatin1String(PrivateFolder::kBesideOutput)))
            continue;
        QString reason = walk(NativePath::join(folder, name), NativePath::join(relative, name));
        if (!reason.isEmpty())
            return reason;
    }
    return {};
}

void InputList::add(const QString& path, const QString& relative, const QString& name)
{
    if (!mOptions.shard.holds(name))
        return;
    QDataStream stream(&mFile);
    stream << path << relative;
    ++mCount;
}

void InputList::rewind()
{
    mFile.seek(0);
}

std::optional<Input> InputList::next()
{
    if (mFile.atEnd())
        return {};
    Input input;
    QDataStream stream(&mFile);
    stream >> input.path >> input.relative;
    return input;
}
