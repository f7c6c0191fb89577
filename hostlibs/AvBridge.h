#pragma once

#include <QSharedPointer>

struct AVFormatContext;
struct AVPacket;

/// A shared handle that owns an input context and closes and frees it with the last reference. The context's
/// own I/O goes with it; a custom one (AVFMT_FLAG_CUSTOM_IO) stays its maker's. Null gives a null handle.
QSharedPointer<AVFormatContext> makeAVFormatContextPtr(AVFormatContext* context);

/// A shared handle that owns a packet and frees it, with the data it refers to, with the last reference. Null
/// gives a null handle.
QSharedPointer<AVPacket> makeAVPacketPtr(AVPacket* packet);

/// Sends FFmpeg's log to the host's log: what FFmpeg's own level lets through, and never less grave than a
/// warning. May be called any number of times, on any thread.
void ffmpegLogToPLog();
