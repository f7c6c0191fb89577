#pragma once

#include <QSharedPointer>
#include <QString>

#include "demux/FFDemuxer.h"

namespace Vantor {

/// A new demuxer, not yet open, for the file at `path`: FFVobDemuxer when forced, or for the suffix "vob"
/// when the host's setting "kVob_DeMux_Enabled" is true; else FFDemuxer. Never null. Reads the host's
/// settings (and enters a missing one) without a lock.
QSharedPointer<FFDemuxer> createDemuxer(const QString& path, bool forceVob);

} // namespace Vantor
