#include "video/CommandSteps.h"

#include <QFileInfo>

#include <cmath>
#include <thread>

#include "demux/DemuxerFactory.h"
#include "demux/FFDemuxer.h"
#include "demux/MediaDescription.h"
#include "hostlibs/VxMediaInfo.h"
#include "image/CommandLine.h"
#include "log/DebugLine.h"
#include "video/InfoEstimate.h"
#include "video/PictureSize.h"
#include "video/ProgressFile.h"
#include "video/TargetBitrate.h"

using namespace Qt::StringLiterals;

SourceProbe::SourceProbe(const QString& path) : demuxer(Vantor::createDemuxer(path, false))
{
    if (demuxer->open(path))
        media = Vantor::describeMedia(*demuxer);
}

bool SourceProbe::coverComesFirst() const
{
    const auto& streams = media->videoStreams;
    return streams.size() >= 2 && streams[0]->isAttachedPicture;
}

QSharedPointer<Vantor::VideoStreamDescription> SourceProbe::chosenVideoStream() const
{
    return media->videoStreams.value(coverComesFirst() ? 1 : 0);
}

qint64 SourceProbe::describedDurationMs() const
{
    const auto& videos = media->videoStreams;
    if (videos.isEmpty())
        return media->audioStreams.isEmpty() ? 0 : media->audioStreams[0]->durationMs;
    if (videos[0]->durationMs >= 1 && !videos[0]->isAttachedPicture)
        return videos[0]->durationMs;
    if (videos.size() >= 2 && videos[1]->durationMs >= 1)
        return videos[1]->durationMs;
    return media->durationMs;
}

qint64 SourceProbe::sourceDurationMs() const
{
    qint64 durationMs = describedDurationMs();
    if (durationMs < 1)
        infoEstimate(demuxer->formatContext(), durationMs);
    return durationMs;
}

QString outputSuffix(const QString& outputPath)
{
    return QFileInfo(outputPath).suffix().toLower();
}

QString audioCodecElement(const QString& outputPath)
{
    static const struct
    {
        QLatin1String suffix;
        QLatin1String element;
    } kAudioCodecs[] = {
        // Disc players know AC-3, not AAC.
        {"m2ts"_L1, "-c:a ac3"_L1},
        {"mkv"_L1, "-c:a aac"_L1},
        {"mp4"_L1, "-c:a aac"_L1},
        {"mov"_L1, "-c:a aac"_L1},
        {"m4v"_L1, "-c:a aac"_L1},
        {"f4v"_L1, "-c:a aac"_L1},
        // The older containers' players expect MP3.
        {"avi"_L1, "-c:a mp3"_L1},
        {"flv"_L1, "-c:a mp3"_L1},
    };
    const QString suffix = outputSuffix(outputPath);
    for (const auto& row : kAudioCodecs) {
        if (suffix == row.suffix)
            return row.element;
    }
    return {};
}

QStringList inputElements(const QString& inputPath)
{
    return {u"-i"_s, quotedPath(inputPath), u"-c:v libx264"_s, u"-pix_fmt yuv420p"_s};
}

QStringList bitrateElements(const QString& inputPath, const QString& percentage, qint64 durationMs)
{
    const auto source = Vantor::getMediaInfo(inputPath, -1, true);
    const QString bitrate = QString::number(targetBitrateKbit(*source, percentage, durationMs)) + u'k';
    return {u"-vb"_s, bitrate, "-minrate "_L1 + bitrate, "-maxrate "_L1 + bitrate, "-bufsize "_L1 + bitrate};
}

void addOutput(Command& command, const QString& outputPath)
{
    command.progressFilePath = ProgressFile::newPath();
    command.fragments << quotedPath(outputPath) << ProgressFile::elements(command.progressFilePath);
}

void addTranscode(Command& command, const CommandInput& input, const SourceProbe& source, qint64 durationMs)
{
    command.durationMs = durationMs;
    command.fragments << u"-vf"_s << scaleElement(source, input.scale) << u"-filter_threads 1"_s << u"-y"_s
                      << u"-threads"_s << QString::number(encoderThreadCount());
    addOutput(command, input.outputPath);
}

QString scaleElement(const SourceProbe& source, const QString& scale)
{
    const auto stream = source.chosenVideoStream();
    const QSize size = scaledSize(stream ? displaySize(*stream) : QSize(0, 0), scale);
    return u"scale=%1:%2"_s.arg(size.width()).arg(size.height());
}

int encoderThreadCount()
{
    const unsigned hardwareThreads = std::thread::hardware_concurrency();
    const float count = std::ceil(static_cast<float>(hardwareThreads) / 3.0F);
    debugLine() << "threadCount:" << hardwareThreads;
    debugLine() << "currenThreadCount:" << count;
    return static_cast<int>(count);
}
