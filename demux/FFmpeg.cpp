#include "demux/FFmpeg.h"

#include <array>

namespace Vantor {

QString errorText(int error)
{
    std::array<char, 256> text{};
    av_strerror(error, text.data(), text.size());
    return QString::fromUtf8(text.data());
}

const qint32* displayMatrix(const AVStream& stream)
{
    size_t size = 0;
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(60, 30, 100)
    const AVPacketSideData* sideData = av_packet_side_data_get(
        stream.codecpar->coded_side_data, stream.codecpar->nb_coded_side_data, AV_PKT_DATA_DISPLAYMATRIX);
    const uint8_t* data = sideData ? sideData->data : nullptr;
    size = sideData ? sideData->size : 0;
#else
    const uint8_t* data = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
#endif
    return size >= 9 * sizeof(qint32) ? reinterpret_cast<const qint32*>(data) : nullptr;
}

quint64 channelMask(const AVCodecParameters& parameters)
{
    const AVChannelLayout& layout = parameters.ch_layout;
    return layout.order == AV_CHANNEL_ORDER_NATIVE ? layout.u.mask : 0;
}

} // namespace Vantor
