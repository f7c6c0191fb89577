#pragma once

#include <QString>

#include "host/job/JobEvents.h"

/// The one line of a job that did not fail.
QString resultText(const JobResult& result);

/// The last line of a run of several files.
/// Rows of a table of estimates, whose last one may be a sum.
QString estimateHeader();
QString estimateRow(qint64 before, SizeRange after, const QString& name);

QString summaryText(const RunSummary& summary);

/// "0:42", "1:03:07".
QString timeText(qint64 ms);

/// What a user who waits reads, such as "31 %, 2.4x, 0:42 left": the share done, how much faster than it
/// plays a video of `videoMs` is encoded (0: unknown, and left out), and the time left if it goes on like that.
QString progressText(double share, qint64 elapsedMs, qint64 videoMs);
