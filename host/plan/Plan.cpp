#include "host/plan/Plan.h"

#include "host/plan/Collisions.h"
#include "host/system/NativePath.h"
#include "host/system/PathText.h"
#include "host/system/Platform.h"
#include "host/system/PlatformFiles.h"

using namespace Qt::StringLiterals;

namespace {

// The requested suffix for a file of this name, or the file's own.
QString outputSuffix(const Options& options, const QString& inputPath)
{
    QString own = NativePath::suffix(inputPath);
    for (const QString& requested : options.formats) {
        const Format* const format = Formats::ofSuffix(requested, options.anyContainer);
        if (Formats::kindOfName(own) != (format->isVideo() ? MediaKind::Image : MediaKind::Video))
            return requested;
    }
    return own;
}

QString pathFor(const Options& options, const Input& input, bool isFolder)
{
    if (options.inPlace)
        return input.path;
    if (!options.output.isEmpty() && !isFolder)
        return options.output;
    const QString name =
        NativePath::baseName(input.path) + options.suffix + u'.' + outputSuffix(options, input.path);
    if (options.output.isEmpty())
        return NativePath::join(NativePath::folder(input.path), name);
    const QString below = NativePath::folder(input.relative);
    const QString folder = below == u'.' ? options.output : NativePath::join(options.output, below);
    return NativePath::join(folder, name);
}

QString numberMisfit(const Options& options, const Format& format)
{
    if (options.quality && *options.quality > format.quality.highest() && !options.size)
        return u"the quality of a %1 is a number from 0 to %2, not \"%3\""_s.arg(
            QLatin1String(format.name), QString::number(format.quality.highest()),
            QString::number(*options.quality));
    if (!format.isVideo() && !options.scale.isEmpty() && options.inputs.size() == 1)
        return u"--scale is for video, and the output is a %1"_s.arg(QLatin1String(format.name));
    return {};
}

} // namespace

Plan::Plan(const Options& options, PrivateFolder& folder) : mOptions(options), mInputs(options, folder) {}

QStringList Plan::make()
{
    QString error = mInputs.collect();
    if (!error.isEmpty())
        return {error};
    const auto output = mOptions.output.isEmpty() ? std::nullopt : Platform::factsOf(mOptions.output);
    const bool isThere = output && output->kind == Platform::FileFacts::Folder;
    mOutputIsFolder = !mOptions.output.isEmpty() && !mOptions.isShortForm &&
                      (mInputs.isMany() || isThere || mOptions.output.endsWith(u'/'));
    if (mOutputIsFolder) {
        if (output && !isThere)
            return {u"the results of several inputs need a folder, and %1 is a file"_s.arg(
                shown(mOptions.output))};
        error = checkOutputFolder();
    } else if (!mOptions.output.isEmpty() && !(mOptions.formats.isEmpty() && mOptions.suffix.isEmpty()))
        error =
            u"--format and --suffix name files in a folder: give a folder, or the output's whole name alone"_s;
    if (!error.isEmpty())
        return {error};
    return findCollisions();
}

// Results inside the tree would be inputs of the next run, and mix with the sources in any case.
QString Plan::checkOutputFolder() const
{
    if (!mOptions.recursive)
        return {};
    for (const QString& input : mOptions.inputs) {
        const auto tree = Platform::factsOf(input);
        if (!tree || tree->kind != Platform::FileFacts::Folder)
            continue;
        QString folder = NativePath::absolute(mOptions.output);
        for (bool isTop = false; !isTop; folder = NativePath::folder(folder)) {
            isTop = folder == NativePath::folder(folder);
            const auto facts = Platform::factsOf(folder);
            if (facts && facts->isSameFile(*tree))
                return u"the output folder %1 lies inside the input folder %2: give another one, or "
                       "--suffix or --in-place"_s.arg(shown(mOptions.output), shown(input));
        }
    }
    return {};
}

PlannedJob Plan::planned(const Input& input) const
{
    PlannedJob job;
    job.spec.inputPath = input.path;
    job.spec.outputPath = pathFor(mOptions, input, mOutputIsFolder);
    const QString suffix = NativePath::suffix(job.spec.outputPath);
    job.spec.format = Formats::ofSuffix(suffix, mOptions.anyContainer);
    if (!job.spec.format)
        job.failure = {FailureKind::NoOutputKind, suffix};
    else if (const QString misfit = numberMisfit(mOptions, *job.spec.format); !misfit.isEmpty())
        job.failure = {FailureKind::BadOption, misfit};
    return job;
}

QStringList Plan::findCollisions()
{
    Collisions collisions;
    const bool isHarmless = mOptions.deliversNothing() && mOptions.output.isEmpty();
    const auto pass = [this](auto&& visit) {
        mInputs.rewind();
        for (auto input = mInputs.next(); input && !Platform::Interrupts::first(); input = mInputs.next()) {
            const auto facts = Platform::factsOf(input->path);
            if (!facts)
                continue;
            const PlannedJob job = planned(*input);
            if (facts->kind == Platform::FileFacts::Regular && !job.failure)
                visit(job.spec, *facts);
        }
        mInputs.rewind();
    };
    pass([&](const JobSpec& spec, const Platform::FileFacts& facts) {
        mBytes += facts.bytes;
        if (!isHarmless && mInputs.count() > 1)
            collisions.note(facts, spec.outputPath);
    });
    if (!collisions.hasSuspects())
        return {};
    pass([&](const JobSpec& spec, const Platform::FileFacts& facts) {
        collisions.examine(spec.inputPath, facts, spec.outputPath);
    });
    return collisions.sentences();
}

std::optional<PlannedJob> Plan::next()
{
    const auto input = mInputs.next();
    if (!input)
        return {};
    PlannedJob job = planned(*input);
    job.spec.index = mNextIndex++;
    if (job.failure)
        return job;
    const auto source = Platform::factsOf(job.spec.inputPath);
    const auto target = Platform::factsOf(job.spec.outputPath);
    job.spec.inputBytes = source ? source->bytes : 0;
    job.spec.isInPlace = source && target && source->isSameFile(*target);
    job.isExcess = mOptions.skipExisting && target && !mOptions.deliversNothing();
    return job;
}
