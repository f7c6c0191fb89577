#pragma once

#include "host/job/Options.h"

/// `vxcompress report`: adds up what runs have told with --json, and tells it on standard output; with --html
/// as a page, too. Returns the exit status: 0 also where the runs told of failures, 2 for files that cannot
/// be read, written, or that have no stream in them.
int runReport(const ReportOptions& options);
