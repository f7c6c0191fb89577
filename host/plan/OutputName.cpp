#include "host/plan/OutputName.h"

#include "host/system/NativePath.h"

using namespace Qt::StringLiterals;

namespace {

// The asked suffix for a file of this name, or the file's own.
QString outputSuffix(const Options& options, const QString& inputPath)
{
    QString own = NativePath::suffix(inputPath);
    for (const QString& requested : options.formats) {
        const Format* const format = Formats::ofSuffix(requested, options.anyContainer);
        const bool isOther = format->isVideo() ? Formats::isImageName(own) : Formats::isVideoName(own);
        if (!isOther)
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
    if (!options.output.isEmpty()) {
        const QString below = NativePath::folder(input.relative);
        const QString folder = below == u'.' ? options.output : NativePath::join(options.output, below);
        return NativePath::join(folder, name);
    }
    return NativePath::join(NativePath::folder(input.path), name);
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

OutputName nameOutput(const Options& options, const Input& input, bool isFolder)
{
    OutputName name;
    name.path = pathFor(options, input, isFolder);
    const QString suffix = NativePath::suffix(name.path);
    name.format = Formats::ofSuffix(suffix, options.anyContainer);
    if (!name.format) {
        name.failure = {FailureKind::NoOutputKind, suffix};
        return name;
    }
    const QString misfit = numberMisfit(options, *name.format);
    if (!misfit.isEmpty())
        name.failure = {FailureKind::BadOption, misfit};
    return name;
}
