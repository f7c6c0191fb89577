#pragma once

#include <QString>

#include "host/job/JobResult.h"

/// What went wrong, for people: one sentence without a full stop that names the files.
QString failureText(const JobResult& result);

/// The same for programs: a word that never changes, such as "no-input".
const char* failureId(FailureKind kind);
