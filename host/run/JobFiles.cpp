#include "host/run/JobFiles.h"

#include <QStorageInfo>

#include "host/job/Format.h"
#include "host/system/NativePath.h"

using namespace Qt::StringLiterals;

namespace fs = std::filesystem;

namespace {

const Failure kNoLink{FailureKind::MeasureFailed, u"no link with a plain name could be made for it"_s};

} // namespace

JobFiles::~JobFiles()
{
    std::error_code ignored;
    for (const QString& link : std::as_const(mLinks))
        fs::remove(NativePath::toNative(link), ignored);
}

Failure JobFiles::begin()
{
    QString reason;
    const auto facts = Platform::factsOf(mSpec.inputPath, &reason);
    if (!facts)
        return {FailureKind::NoInput, reason};
    mSource = *facts;
    // Reading a pipe or a device may never end, and nothing tells its size.
    if (facts->kind != Platform::FileFacts::Regular)
        return {FailureKind::NotRegular,
                facts->kind == Platform::FileFacts::Folder ? u"; use -r for folders"_s : QString()};
    return facts->bytes == 0 ? Failure{FailureKind::Empty} : Failure();
}

bool JobFiles::isSourceChanged() const
{
    const auto source = Platform::factsOf(mSpec.inputPath);
    return !source || !source->isUnchanged(mSource);
}

Failure JobFiles::reach(const QString& stagedPath)
{
    mSourcePath = NativePath::absolute(mSpec.inputPath);
    if (!NativePath::isPlain(mSourcePath)) {
        const QString suffix = NativePath::suffix(mSourcePath);
        mSourcePath = linkTo(mSourcePath, NativePath::isPlain(suffix) ? suffix : u"bin"_s);
    }
    QString folder = NativePath::folder(stagedPath);
    if (!NativePath::isPlain(folder))
        folder = linkTo(folder, {});
    mResultPath = NativePath::join(folder, NativePath::fileName(stagedPath));
    return mSourcePath.isEmpty() || folder.isEmpty() ? kNoLink : Failure();
}

Failure JobFiles::setSourceSuffix(const QString& suffix)
{
    if (!suffix.isEmpty())
        mSourcePath = linkTo(mSourcePath, suffix);
    return mSourcePath.isEmpty() ? kNoLink : Failure();
}

// Empty when there can be none. Without a suffix it is a folder's.
QString JobFiles::linkTo(const QString& path, const QString& suffix)
{
    QString link = mFolder.newPath(suffix);
    if (!Platform::makeLink(path, link, suffix.isEmpty()))
        return {};
    mLinks.append(link);
    return link;
}

bool JobFiles::isSourceOfOutputsKind() const
{
    if (!mSpec.format->isVideo())
        return Formats::looksLike(*mSpec.format, mSourcePath);
    return NativePath::suffix(mSpec.inputPath).toLower() == NativePath::suffix(mSpec.outputPath).toLower();
}

void JobFiles::noteFullDisk(Failure& failure) const
{
    if (failure.kind != FailureKind::EncoderFailed && failure.kind != FailureKind::DeliveryFailed &&
        failure.kind != FailureKind::NoResult)
        return;
    const QString output = NativePath::folder(NativePath::absolute(mSpec.outputPath));
    for (const QString& folder : {mFolder.path(), output}) {
        const QStorageInfo disk(folder);
        if (!disk.isValid() || disk.bytesAvailable() >= mSource.bytes)
            continue;
        failure.fullFolder = folder == output ? output : NativePath::folder(folder);
        failure.roomThere = disk.bytesAvailable();
        return;
    }
}
