#include "host/media/VideoMetadata.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

QStringList videoMetadataPass(const VideoFacts& source, const VideoFacts& result, const QString& sourcePath,
                              const QString& resultPath, const QString& outputPath)
{
    // AVI and M2TS hold nothing of these, FLV no chapters.
    const QString suffix = QFileInfo(outputPath).suffix().toLower();
    const bool isMp4 = QStringList{u"mp4"_s, u"mov"_s, u"m4v"_s, u"f4v"_s}.contains(suffix);
    const bool hasChapters = isMp4 || suffix == "mkv"_L1;
    const bool hasCreationTime = hasChapters || suffix == "flv"_L1;

    QStringList tags;
    const QString created = tagValue(source.tags, u"creation_time"_s);
    if (hasCreationTime && !created.isEmpty() && tagValue(result.tags, u"creation_time"_s).isEmpty())
        tags << u"-metadata"_s << u"creation_time="_s + created;
    // The keys under which cameras and phones note make, model, place and time. ffmpeg drops these from MP4
    // and its kin unless asked. All others it keeps in the form that players expect, or they are the
    // container's own.
    for (auto tag = source.tags.begin(); isMp4 && tag != source.tags.end(); ++tag) {
        if (tag.key().startsWith("com."_L1) && !result.tags.contains(tag.key()))
            tags << u"-movflags"_s << u"use_metadata_tags"_s << u"-metadata"_s << tag.key() + u'=' + *tag;
    }
    if (tags.isEmpty() && !(hasChapters && result.chapters < source.chapters))
        return {};
    // Chapters lie in the result as a track too, which is no stream to be copied.
    static const QString kCopy = u"-map 0 -map -0:d -c copy -map_metadata 0 -map_chapters 1"_s;
    return QStringList{u"-n"_s} + ToolCall::input(ToolCall::fileAddress(resultPath)) +
           ToolCall::input(ToolCall::fileAddress(sourcePath)) + kCopy.split(u' ') + tags +
           QStringList{ToolCall::fileAddress(outputPath)};
}
