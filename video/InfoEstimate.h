#pragma once

#include <QSharedPointer>
#include <QtGlobal>

struct AVFormatContext;

/// The duration, in milliseconds, of a source that doesn't say it: reads packets from where the context
/// stands to the end and takes the span of the first stream that has one. A `durationMs` above 0 is left
/// alone, and so is one for which nothing was found. Blocks for at most 3 s (the container has a duration) or
/// 6 s and the read of one packet; when that isn't enough the result is 0. Afterwards the context stands
/// where the scan ended.
void infoEstimate(const QSharedPointer<AVFormatContext>& context, qint64& durationMs);
