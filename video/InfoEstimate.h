#pragma once

#include <QSharedPointer>
#include <QtGlobal>

struct AVFormatContext;

/// Finds the duration, in milliseconds, of a source that doesn't say it, by reading its packets for some
/// seconds (see demux/DurationScan.h): the length of the first stream that has one, or 0 when there was no
/// time to reach the end. A `durationMs` above 0 is left alone, and so is one for which nothing was found.
/// The handle keeps the context open for the call.
void infoEstimate(QSharedPointer<AVFormatContext> context, qint64& durationMs);
