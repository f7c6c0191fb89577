#include "host/media/VideoMetadata.h"

namespace {

const QString kCreationTime = QStringLiteral("creation_time");

// What a container can hold, as ffmpeg writes it. AVI, M2TS: nothing of these.
struct ContainerRow
{
    QLatin1String suffix;
    bool hasCreationTime;
    bool hasChapters;
    bool hasDeviceTags;
};

constexpr ContainerRow kContainers[] = {
    {QLatin1String("mp4"), true, true, true},  {QLatin1String("mov"), true, true, true},
    {QLatin1String("m4v"), true, true, true},  {QLatin1String("f4v"), true, true, true},
    {QLatin1String("mkv"), true, true, false}, {QLatin1String("flv"), true, false, false},
};

ContainerRow containerOf(const QString& suffix)
{
    for (const ContainerRow& row : kContainers) {
        if (suffix.compare(row.suffix, Qt::CaseInsensitive) == 0)
            return row;
    }
    return {};
}

bool lacksCreationTime(const VideoFacts& source, const VideoFacts& result)
{
    return !tagValue(source.tags, kCreationTime).isEmpty() && tagValue(result.tags, kCreationTime).isEmpty();
}

// The keys under which cameras and phones note make, model, place and time, such as com.apple.quicktime.make.
// ffmpeg drops these from MP4 and its kin unless asked. All others it keeps in the form that players expect,
// or they are the container's own.
QStringList missingDeviceTags(const VideoFacts& source, const VideoFacts& result)
{
    QStringList keys;
    for (const QString& key : source.tags.keys()) {
        if (key.startsWith(QLatin1String("com.")) && !result.tags.contains(key))
            keys.append(key);
    }
    return keys;
}

} // namespace

QStringList missingVideoMetadata(const VideoFacts& source, const VideoFacts& result,
                                 const QString& outputSuffix)
{
    const ContainerRow container = containerOf(outputSuffix);
    QStringList missing;
    if (container.hasCreationTime && lacksCreationTime(source, result))
        missing.append(QStringLiteral("creation time"));
    if (container.hasChapters && result.chapters < source.chapters)
        missing.append(QStringLiteral("chapters"));
    if (container.hasDeviceTags && !missingDeviceTags(source, result).isEmpty())
        missing.append(QStringLiteral("tags"));
    return missing;
}

QStringList videoMetadataArguments(const VideoFacts& source, const VideoFacts& result,
                                   const QString& sourcePath, const QString& resultPath,
                                   const QString& outputPath)
{
    // Chapters lie in the result as a track too, which is no stream to be copied.
    static const QString kCopy = QStringLiteral("-map 0 -map -0:d -c copy -map_metadata 0 -map_chapters 1");
    QStringList arguments{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-nostdin"),
                          QStringLiteral("-n")};
    for (const QString& path : {resultPath, sourcePath})
        arguments << QStringLiteral("-i") << QStringLiteral("file:") + path;
    arguments << kCopy.split(u' ');
    const auto restore = [&](const QString& key) {
        arguments << QStringLiteral("-metadata") << key + u'=' + tagValue(source.tags, key);
    };
    if (lacksCreationTime(source, result))
        restore(kCreationTime);
    const QStringList deviceTags = missingDeviceTags(source, result);
    for (const QString& key : deviceTags)
        restore(key);
    if (!deviceTags.isEmpty())
        arguments << QStringLiteral("-movflags") << QStringLiteral("use_metadata_tags");
    return arguments << QStringLiteral("file:") + outputPath;
}
