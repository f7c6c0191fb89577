#include "image/ContainerEnd.h"

#include <QFile>
#include <QtEndian>

#include <bit>

namespace {

constexpr qsizetype kHeadBytes = 16;

QByteArray headAt(QFile& file, qint64 at)
{
    return file.seek(at) ? file.read(kHeadBytes).leftJustified(kHeadBytes, '\0', true) : QByteArray();
}

// Length and name; what is not as long as a head has no end.
qint64 boxLength(const QByteArray& head)
{
    const auto length = qFromBigEndian<quint32>(head.constData());
    return length == 1 ? qFromBigEndian<qint64>(head.constData() + 8) : length;
}

// Name and length, which the head and an odd length's padding are not counted in.
qint64 riffLength(const QByteArray& head)
{
    const qint64 length = qFromLittleEndian<quint32>(head.constData() + 4);
    return head.startsWith("RIFF") && length > 0 ? length + 8 + length % 2 : 0;
}

// Four bytes of name (of the first level), and a length that tells by its leading zeros how many bytes it has
// itself.
qint64 elementLength(const QByteArray& head)
{
    const int bytes = std::countl_zero(quint8(head[4])) + 1;
    if (bytes > 8)
        return 0;
    const quint64 length =
        qFromBigEndian<quint64>(head.constData() + 4) << bytes >> bytes >> (64 - 8 * bytes);
    const bool isUnknown = length == (quint64(1) << (7 * bytes)) - 1;
    return isUnknown ? 0 : 4 + bytes + qint64(length);
}

} // namespace

std::optional<bool> hasItsEnd(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray first = headAt(file, 0);
    const auto lengthOf = first.mid(4, 4) == "ftyp"              ? boxLength
                          : first.startsWith("RIFF")             ? riffLength
                          : first.startsWith("\x1A\x45\xDF\xA3") ? elementLength
                                                                 : nullptr;
    if (!lengthOf)
        return {};
    for (qint64 at = 0; at < file.size();) {
        const qint64 length = lengthOf(headAt(file, at));
        if (length < 8 || length > file.size() - at)
            return false;
        at += length;
    }
    return true;
}
