#include "demux/StillVideo.h"

#include <QByteArray>

#include <algorithm>
#include <array>

#include "demux/FFDemuxer.h"
#include "hostlibs/AvBridge.h"

namespace Vantor {

namespace {

constexpr int kMostPicturePackets = 3;

// Reads the whole input, or until the stream has more packets than a still picture.
bool isStill(AVFormatContext* context, int streamIndex)
{
    int count = 0;
    while (count <= kMostPicturePackets) {
        const auto packet = makeAVPacketPtr(av_packet_alloc());
        const int result = packet ? av_read_frame(context, packet.data()) : AVERROR(ENOMEM);
        if (result == AVERROR_EOF)
            return true;
        if (result < 0)
            return false;
        if (packet->stream_index == streamIndex)
            ++count;
    }
    return false;
}

} // namespace

bool isWindowsMedia(const AVFormatContext& context)
{
    if (!context.iformat)
        return false;
    const QByteArray name = QByteArray(context.iformat->name).toLower();
    constexpr std::array words{"asf", "wmv", "wma"};
    return std::any_of(words.begin(), words.end(), [&](const char* word) { return name.contains(word); });
}

bool probeStillVideo(const QString& path, int streamIndex)
{
    FFDemuxer probe;
    if (!probe.open(path))
        return false;
    const auto context = probe.formatContext();
    if (!context || !isWindowsMedia(*context) || !isStill(context.data(), streamIndex))
        return false;
    av_seek_frame(context.data(), -1, 0, AVSEEK_FLAG_BACKWARD);
    return true;
}

} // namespace Vantor
