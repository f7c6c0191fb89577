#include "video/OutputCheck.h"

#include <QFile>
#include <QtEndian>

#include "demux/FFDemuxer.h"

namespace {

// Less than the last bytes that ffmpeg writes at once can last.
constexpr qint64 kLengthToleranceMs = 100;

// MP4 and its kin are a row of boxes that fill the file; each begins with its length and a name.
bool fillsItsBoxes(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    for (qint64 at = 0; at < file.size();) {
        const QByteArray head = file.seek(at) ? file.read(16) : QByteArray();
        if (at == 0 && head.mid(4, 4) != "ftyp")
            return true;
        qint64 length = head.size() < 8 ? 0 : qFromBigEndian<quint32>(head.constData());
        if (length == 1 && head.size() == 16)
            length = qFromBigEndian<qint64>(head.constData() + 8);
        if (length < 8 || length > file.size() - at)
            return false;
        at += length;
    }
    return true;
}

} // namespace

// Other containers have a length or an index at the end, or in a head that is written last.
bool isVideoWhole(const QString& path, qint64 lengthMs)
{
    Vantor::FFDemuxer demuxer;
    return lengthMs > 0 && fillsItsBoxes(path) && demuxer.open(path) &&
           demuxer.durationMs() >= lengthMs - kLengthToleranceMs;
}
