#include "demux/MediaDescription.h"

#include <cmath>
#include <limits>

#include "demux/FFDemuxer.h"
#include "demux/Saturate.h"
#include "demux/StillVideo.h"

namespace Vantor {

namespace {

constexpr int kHighestPlausibleRate = 120;
constexpr int kHighestRate = 1000;

bool isSet(AVRational rational)
{
    return rational.num != 0 && rational.den != 0;
}

// In whole numbers; the one quotient without a 32-bit value is no plausible rate either.
qint64 quotient(AVRational rate)
{
    return static_cast<qint64>(rate.num) / rate.den;
}

AVRational rawFrameRate(AVFormatContext* context, AVStream* stream)
{
    const AVRational guessed = av_guess_frame_rate(context, stream, nullptr);
    if (isSet(guessed) && quotient(guessed) <= kHighestPlausibleRate)
        return guessed;
    const AVRational average = stream->avg_frame_rate;
    if (isSet(average) && quotient(average) <= kHighestPlausibleRate)
        return average;
    const AVRational base = stream->r_frame_rate;
    return isSet(base) && quotient(base) < kHighestPlausibleRate ? base : average;
}

AVRational frameRateOf(AVFormatContext* context, AVStream* stream)
{
    AVRational rate = rawFrameRate(context, stream);
    if (rate.num <= 0)
        rate.num = 25;
    if (rate.den <= 0)
        rate.den = 1;
    return quotient(rate) > kHighestRate ? AVRational{25, 1} : rate;
}

qint32 rotationOf(const AVStream& stream)
{
    const qint32* matrix = displayMatrix(stream);
    if (!matrix)
        return 0;
    double theta = -av_display_rotation_get(matrix);
    // Into [0, 360), where just below a full turn counts as none: 0.0025 is 0.9 degrees.
    theta -= 360.0 * std::floor(theta / 360.0 + 0.0025);
    return theta > 0.0 ? saturate<qint32>(theta) : 0;
}

qint64 durationMsOf(const AVStream& stream)
{
    const double timeBase = stream.time_base.den == 0 ? 0.0 : av_q2d(stream.time_base);
    return saturate<qint64>(static_cast<double>(stream.duration) * timeBase * 1000.0);
}

QSharedPointer<VideoStreamDescription> describeVideo(AVFormatContext* context, AVStream* stream)
{
    const AVCodecParameters& parameters = *stream->codecpar;
    auto video = QSharedPointer<VideoStreamDescription>::create();
    video->index = stream->index;
    video->codecId = parameters.codec_id;
    video->timeBase = stream->time_base;
    video->codecTag = parameters.codec_tag;
    video->pixelFormat = parameters.format;
    video->width = parameters.width;
    video->height = parameters.height;
    video->frameRate = frameRateOf(context, stream);
    video->durationMs = durationMsOf(*stream);
    video->bitRate = parameters.bit_rate;
    video->sampleAspectRatio =
        isSet(stream->sample_aspect_ratio) ? stream->sample_aspect_ratio : parameters.sample_aspect_ratio;
    video->rotation = rotationOf(*stream);
    video->isAttachedPicture = (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
    return video;
}

QSharedPointer<AudioStreamDescription> describeAudio(const AVStream& stream)
{
    const AVCodecParameters& parameters = *stream.codecpar;
    auto audio = QSharedPointer<AudioStreamDescription>::create();
    audio->index = stream.index;
    audio->codecId = parameters.codec_id;
    audio->timeBase = stream.time_base;
    audio->sampleFormat = parameters.format;
    audio->channels = parameters.ch_layout.nb_channels;
    audio->sampleRate = parameters.sample_rate;
    audio->durationMs = durationMsOf(stream);
    audio->bitRate = parameters.bit_rate;
    audio->channelLayout = channelMask(parameters);
    audio->codecTag = parameters.codec_tag;
    return audio;
}

QSharedPointer<SubtitleStreamDescription> describeSubtitle(const AVStream& stream)
{
    auto subtitle = QSharedPointer<SubtitleStreamDescription>::create();
    subtitle->index = stream.index;
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(stream.codecpar->codec_id);
    subtitle->isTextSubtitle = descriptor && (descriptor->props & AV_CODEC_PROP_TEXT_SUB) != 0;
    return subtitle;
}

QSharedPointer<StreamDescription> describeStream(const AVStream& stream)
{
    auto description = QSharedPointer<StreamDescription>::create();
    description->index = stream.index;
    description->mediaType = stream.codecpar->codec_type;
    description->codecId = stream.codecpar->codec_id;
    description->timeBase = stream.time_base;
    return description;
}

void describeContainer(const AVFormatContext& context, MediaDescription& media)
{
    constexpr qint64 rounding = 5000;
    const bool fits = context.duration <= std::numeric_limits<qint64>::max() - rounding;
    media.durationMs = (fits ? context.duration + rounding : context.duration) / 1000;
    media.startTimeMs = context.start_time / 1000;
    media.bitRate = context.bit_rate;
    if (context.iformat && context.iformat->long_name)
        media.formatLongName = QString::fromUtf8(context.iformat->long_name);
}

} // namespace

QSharedPointer<MediaDescription> describeMedia(FFDemuxer& demuxer)
{
    const auto context = demuxer.formatContext();
    if (!context)
        return {};
    auto media = QSharedPointer<MediaDescription>::create();
    describeContainer(*context, *media);
    for (unsigned i = 0; i < context->nb_streams; ++i) {
        AVStream* stream = context->streams[i];
        switch (stream->codecpar->codec_type) {
        case AVMEDIA_TYPE_VIDEO: {
            auto video = describeVideo(context.data(), stream);
            // The probe opens the file again, which only Windows Media can need.
            if (media->videoStreams.isEmpty() && !video->isAttachedPicture && isWindowsMedia(*context))
                video->isAttachedPicture = probeStillVideo(demuxer.filePath(), stream->index);
            media->videoStreams.append(video);
            break;
        }
        case AVMEDIA_TYPE_AUDIO:
            media->audioStreams.append(describeAudio(*stream));
            break;
        case AVMEDIA_TYPE_SUBTITLE:
            media->subtitleStreams.append(describeSubtitle(*stream));
            break;
        default:
            break;
        }
        media->streams.append(describeStream(*stream));
    }
    return media;
}

} // namespace Vantor
