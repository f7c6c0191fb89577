#pragma once

#include "host/job/JobEvents.h"

/// The one line of a job that did not fail.
QString resultText(const JobResult& result);

/// Rows of a table of estimates, whose last one may be a sum.
QString estimateHeader();
QString estimateRow(qint64 before, SizeRange after, const QString& name);

/// The last line of a run of several files.
QString summaryText(const RunSummary& summary);
