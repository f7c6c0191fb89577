#pragma once

#include <QString>

#include "host/Options.h"

/// Looks at input and output before anything is begun. Returns what is wrong, as a text for people, or an
/// empty text.
QString checkPaths(const Options& options);
