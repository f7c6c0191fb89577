#pragma once

#include "host/job/Options.h"

/// `vxcompress doctor`: examines the installation by use, and writes what it found to standard output.
/// Returns the exit status: 0 all is well, 2 the temporary place is not usable, 3 the module or an encoder is
/// missing or does not work, 128 and the signal's number when interrupted.
int runDoctor(const DoctorOptions& options);
