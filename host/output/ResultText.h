#pragma once

#include "host/job/JobEvents.h"

/// What went wrong, for people: one sentence without a full stop that names the files.
QString failureText(const JobResult& result);

/// The same for programs: a word that never changes, such as "no-input".
const char* failureId(FailureKind kind);

/// The one line of a job that did not fail.
QString resultText(const JobResult& result);

/// Rows of a table of estimates, whose last one may be a sum.
QString estimateHeader();
QString estimateRow(qint64 before, SizeRange after, const QString& name);

/// The last line of a run of several files.
QString summaryText(const RunSummary& summary);
