#pragma once

#include "host/doctor/Diagnosis.h"

/// What the program and its module run on.

/// `path` is the loaded module's file.
ModuleState moduleStateOf(const QString& path);

/// Where temporary files go. Writes nothing there.
TemporaryPlace temporaryPlace();

TerminalState terminalState();
