#pragma once

#include <QSharedPointer>
#include <QString>
#include <QStringList>

#include "video/Commands.h"

namespace Vantor {
class FFDemuxer;
struct MediaDescription;
struct VideoStreamDescription;
} // namespace Vantor

/// The steps that ffmpeg's video commands have in common.

/// The source, open and described, for as long as a command is built.
struct SourceProbe
{
    QSharedPointer<Vantor::FFDemuxer> demuxer;
    QSharedPointer<Vantor::MediaDescription> media; ///< null when the source cannot be opened

    explicit SourceProbe(const QString& path);

    /// The video, where the first video stream is a cover and another follows; else the first one; may be
    /// null.
    QSharedPointer<Vantor::VideoStreamDescription> chosenVideoStream() const;
    bool coverComesFirst() const;

    /// What the source's streams and container say, in milliseconds; below 1 when they say nothing.
    qint64 describedDurationMs() const;
    /// The same, or else what a scan of the packets finds within some seconds.
    qint64 sourceDurationMs() const;
};

/// The codec that a container takes for audio, as "-c:a …"; empty when ffmpeg's own choice is right.
QString audioCodecElement(const QString& outputPath);

/// The suffix that chooses the codecs, in lower case.
QString outputSuffix(const QString& outputPath);

/// The elements that open every command: the source and the picture's codec.
QStringList inputElements(const QString& inputPath);

/// The pinned bitrate that brings the output near a percentage of the source's size.
QStringList bitrateElements(const QString& inputPath, const QString& percentage, qint64 durationMs);

/// What closes every command: the output and ffmpeg's progress.
void addOutput(Command& command, const QString& outputPath);

/// What closes both transcodes: the image, the threads and the output.
void addTranscode(Command& command, const CommandInput& input, const SourceProbe& source, qint64 durationMs);

/// "scale=W:H" for the chosen video stream; 0:0, ffmpeg's "as it is", without one.
QString scaleElement(const SourceProbe& source, const QString& scale);

/// A third of the hardware threads, rounded up, and 0 (ffmpeg's own choice) when their number is unknown. Two
/// lines in the debug log tell both.
int encoderThreadCount();
