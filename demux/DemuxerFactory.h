#pragma once

#include <QSharedPointer>
#include <QString>

#include "demux/FFDemuxer.h"

namespace Vantor {

/// A new demuxer, not yet open, for the file at `path`: FFVobDemuxer when forced, or for the suffix "vob"
/// when the host's setting "kVob_DeMux_Enabled" is true; else FFDemuxer. Never null. May be called by any
/// threads at once; the host's settings are read (and a missing one is entered) without a lock of the host's.
QSharedPointer<FFDemuxer> createDemuxer(const QString& path, bool forceVob);

} // namespace Vantor
