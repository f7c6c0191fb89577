#include "host/media/VideoMetadata.h"

#include "host/media/ToolRun.h"

using namespace Qt::StringLiterals;

namespace {

const QString kCreationTime = u"creation_time"_s;

// What a container can hold, as ffmpeg writes it. AVI, M2TS: nothing of these.
struct ContainerRow
{
    QLatin1String suffix;
    bool hasCreationTime;
    bool hasChapters;
    bool hasDeviceTags;
};

constexpr ContainerRow kContainers[] = {
    {"mp4"_L1, true, true, true}, {"mov"_L1, true, true, true},  {"m4v"_L1, true, true, true},
    {"f4v"_L1, true, true, true}, {"mkv"_L1, true, true, false}, {"flv"_L1, true, false, false},
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
        if (key.startsWith("com."_L1) && !result.tags.contains(key))
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
        missing.append(u"creation time"_s);
    if (container.hasChapters && result.chapters < source.chapters)
        missing.append(u"chapters"_s);
    if (container.hasDeviceTags && !missingDeviceTags(source, result).isEmpty())
        missing.append(u"tags"_s);
    return missing;
}

QStringList videoMetadataArguments(const VideoFacts& source, const VideoFacts& result,
                                   const QString& sourcePath, const QString& resultPath,
                                   const QString& outputPath)
{
    // Chapters lie in the result as a track too, which is no stream to be copied.
    static const QString kCopy = u"-map 0 -map -0:d -c copy -map_metadata 0 -map_chapters 1"_s;
    QStringList arguments{u"-n"_s};
    for (const QString& path : {resultPath, sourcePath})
        arguments << ToolCall::input(ToolCall::fileAddress(path));
    arguments << kCopy.split(u' ');
    const auto restore = [&](const QString& key) {
        arguments << u"-metadata"_s << key + u'=' + tagValue(source.tags, key);
    };
    if (lacksCreationTime(source, result))
        restore(kCreationTime);
    const QStringList deviceTags = missingDeviceTags(source, result);
    for (const QString& key : deviceTags)
        restore(key);
    if (!deviceTags.isEmpty())
        arguments << u"-movflags"_s << u"use_metadata_tags"_s;
    return arguments << ToolCall::fileAddress(outputPath);
}
