#include "hostlibs/AvBridge.h"

#include <QByteArray>

#include <algorithm>
#include <array>
#include <cstdarg>

#include "demux/FFmpeg.h"
#include "hostlibs/VantorBase.h"

namespace {

// FFmpeg's errors are information to the host: most come from a probing attempt that the next one makes good,
// and whether an input can be read is said by who opens it.
constexpr int kRecordLevel = 0;

void logLine(void* source, int level, const char* format, va_list arguments)
{
    // Above the lowest byte a level may carry a colour.
    if (level >= 0)
        level &= 0xff;
    if (level > std::min(av_log_get_level(), AV_LOG_WARNING))
        return;
    // FFmpeg logs a line in pieces; those of one thread belong together.
    thread_local QByteArray line;
    thread_local int startsLine = 1;
    std::array<char, 1024> piece{};
    av_log_format_line2(source, level, format, arguments, piece.data(), static_cast<int>(piece.size()),
                        &startsLine);
    line += piece.data();
    if (!startsLine)
        return;
    VantorBaseEntry()->logger().write(Vantor::Record("ffmpeg", 0, "AvBridge", source, kRecordLevel)
                                      << line.trimmed().constData());
    line.clear();
}

// FFmpeg may stay loaded when the code of logLine() no longer is.
struct LogRoute
{
    ~LogRoute() { av_log_set_callback(av_log_default_callback); }
};

} // namespace

QSharedPointer<AVFormatContext> makeAVFormatContextPtr(AVFormatContext* context)
{
    if (!context)
        return {};
    return {context, [](AVFormatContext* last) { avformat_close_input(&last); }};
}

QSharedPointer<AVPacket> makeAVPacketPtr(AVPacket* packet)
{
    if (!packet)
        return {};
    return {packet, [](AVPacket* last) { av_packet_free(&last); }};
}

void ffmpegLogToPLog()
{
    static const LogRoute route;
    av_log_set_callback(logLine);
}
