#include "demux/DemuxerFactory.h"

#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>

#include "demux/FFVobDemuxer.h"
#include "hostlibs/VantorBase.h"

using namespace Qt::StringLiterals;

namespace Vantor {

namespace {

bool isVobEnabled()
{
    // A missing key is entered, by any thread that builds a command.
    static QMutex mutex;
    const QMutexLocker lock(&mutex);
    return VantorBaseEntry()->settings()[u"kVob_DeMux_Enabled"_s].toBool();
}

} // namespace

QSharedPointer<FFDemuxer> createDemuxer(const QString& path, bool forceVob)
{
    const auto isVob = [&path] { return QFileInfo(path).suffix().toLower() == "vob"_L1; };
    if (forceVob || (isVob() && isVobEnabled()))
        return QSharedPointer<FFVobDemuxer>::create();
    return QSharedPointer<FFDemuxer>::create();
}

} // namespace Vantor
