#pragma once

#include <functional>

#include "hostlibs/VantorBase.h"

namespace Vantor {

using RecordSink = std::function<void(const Record&)>;

/// Sends the stand-in's records to `sink` (called on the thread that logs, one call at a time) in place of
/// the Qt logging category; an empty one brings the category back. After the return the old sink is not
/// called again. A sink must not log itself.
void setRecordSink(RecordSink sink);

} // namespace Vantor
