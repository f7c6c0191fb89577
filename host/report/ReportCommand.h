#pragma once

#include <QStringList>

/// `vxcompress report [--json] [--html FILE] FILE...`: adds up what runs have told with --json, and tells it on standard
/// output; with --html as a page, too.

/// Whether the command line asks for it. `arguments` starts with the program's name.
bool isReportCall(const QStringList& arguments);

/// Returns the exit status: 0 also where the runs told of failures, 2 for wrong usage and for files that cannot be read,
/// written, or that have no stream in them.
int runReport(const QStringList& arguments);
