#pragma once

// FFmpeg for the whole project, 5.1 to 7 and later: its headers are included here alone, and what differs
// between its versions is hidden behind the functions below.

#include <QString>
#include <QtGlobal>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/codec_desc.h>
#include <libavcodec/packet.h>
#include <libavformat/avformat.h>
#include <libavformat/avio.h>
#include <libavutil/channel_layout.h>
#include <libavutil/common.h>
#include <libavutil/dict.h>
#include <libavutil/display.h>
#include <libavutil/error.h>
#include <libavutil/log.h>
#include <libavutil/mathematics.h>
#include <libavutil/mem.h>
#include <libavutil/pixdesc.h>
#include <libavutil/rational.h>
#include <libavutil/time.h>
}

namespace Vantor {

inline constexpr AVRational kMilliseconds{1, 1000};
inline constexpr AVRational kMicroseconds{1, AV_TIME_BASE};

/// FFmpeg's text for an error number.
QString errorText(int error);

/// The nine numbers of the stream's display matrix, or null when it has none.
const qint32* displayMatrix(const AVStream& stream);

/// The channel mask (AV_CH_*), 0 when the channels are not in its order.
quint64 channelMask(const AVCodecParameters& parameters);

} // namespace Vantor
