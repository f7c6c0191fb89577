#pragma once

#include <memory>

#include "host/run/Encode.h"

/// The encode that the options ask for: a plain one, a search, an estimate.
std::unique_ptr<Encode> makeEncode(const EncodeContext& context);
