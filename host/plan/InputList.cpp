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
    const QString suffix = NativePath::suffix(name);
    return Formats::isImageName(suffix) || Formats::isVideoName(suffix);
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

InputList::InputList(PrivateFolder& folder) : mFile(folder.newPath(u"list"_s)) {}

QString InputList::collect(const Options& options)
{
    if (!mFile.open(QIODevice::ReadWrite | QIODevice::Truncate))
        return u"cannot write %1: %2"_s.arg(mFile.fileName(), mFile.errorString());
    QString error;
    for (const QString& path : options.inputs) {
        if (error.isEmpty())
            error = collectNamed(path, options, false);
    }
    if (error.isEmpty() && !options.filesFrom.isEmpty())
        error = collectList(options);
    mIsMany = mIsMany || options.inputs.size() > 1 || !options.filesFrom.isEmpty();
    if (error.isEmpty() && (!mFile.flush() || mFile.error() != QFileDevice::NoError))
        error = u"cannot write %1: %2"_s.arg(mFile.fileName(), mFile.errorString());
    rewind();
    return error;
}

QString InputList::collectNamed(const QString& path, const Options& options, bool isFromList)
{
    if (options.recursive) {
        const auto facts = Platform::factsOf(path);
        if (facts && facts->kind == Platform::FileFacts::Folder) {
            mIsMany = true;
            return walk(path, isFromList ? relativeOf(path) : QString(), options);
        }
    }
    const QString relative = isFromList ? relativeOf(path) : NativePath::fileName(path);
    // By what the output's place is made of: where two outputs would be one, one run has both.
    add(path, relative, options.output.isEmpty() ? QDir::cleanPath(path) : relative, options);
    return {};
}

QString InputList::collectList(const Options& options)
{
    QFile list;
    QString reason;
    bool isOpen = false;
    if (options.filesFrom == u'-') {
        isOpen = list.open(stdin, QIODevice::ReadOnly | QIODevice::Unbuffered);
    } else {
        const int file = Platform::openForReading(options.filesFrom, reason);
        isOpen = file >= 0 && list.open(file, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    }
    if (!isOpen) {
        return u"cannot read %1: %2"_s.arg(shown(options.filesFrom),
                                           reason.isEmpty() ? list.errorString() : reason);
    }
    const char end = options.nullSeparated ? '\0' : '\n';
    QByteArray pending;
    QString error;
    while (error.isEmpty() && Platform::waitForInput(list.handle())) {
        constexpr qint64 kBlockBytes = qint64(64) * 1024;
        const QByteArray block = list.read(kBlockBytes);
        pending += block;
        qsizetype begun = 0;
        for (qsizetype at; error.isEmpty() && (at = pending.indexOf(end, begun)) >= 0; begun = at + 1) {
            if (at > begun)
                error = collectNamed(nameOf(pending.mid(begun, at - begun)), options, true);
        }
        pending.remove(0, begun);
        if (block.isEmpty())
            break;
    }
    if (error.isEmpty() && !pending.isEmpty())
        error = collectNamed(nameOf(pending), options, true);
    return error;
}

// Links are not followed: they would lead out of the tree, and in place change what lies elsewhere.
QString InputList::walk(const QString& folder, const QString& relative, const Options& options)
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
        const bool isOutput = !options.suffix.isEmpty() && options.output.isEmpty() &&
                              NativePath::baseName(name).endsWith(options.suffix);
        const QString below = NativePath::join(relative, name);
        if (isMediaName(name) && !isOutput)
            add(NativePath::join(folder, name), below, below, options);
        else
            ++mIgnored;
    }
    files.clear();
    for (const QString& name : std::as_const(folders)) {
        if (Platform::Interrupts::first())
            break;
        if (name.startsWith(QLatin1String(PrivateFolder::kBesideOutput)))
            continue;
        QString reason = walk(NativePath::join(folder, name), NativePath::join(relative, name), options);
        if (!reason.isEmpty())
            return reason;
    }
    return {};
}

void InputList::add(const QString& path, const QString& relative, const QString& name, const Options& options)
{
    if (!options.shard.holds(name))
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
