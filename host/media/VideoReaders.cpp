#include "host/media/Readers.h"

#include <limits>

using namespace Qt::StringLiterals;

namespace {

// Fragmented videos have a box for every second or so.
constexpr int kMostBoxes = 20'000;

// Files that lack a few bytes are common and harmless.
constexpr int kToleratedShare = 100;

QString shortage(qint64 size, qint64 stated)
{
    if (stated - size <= stated / kToleratedShare)
        return {};
    return u"the video has %1 of the %2 bytes that its container states"_s.arg(size).arg(stated);
}

struct EbmlNumber
{
    quint64 value = 0;
    int width = 0; // bytes; 0: none is there
    bool isUnknown = false;
};

// The zeros before the first one bit tell the width.
EbmlNumber ebmlNumber(FileWindow& file, qint64 offset)
{
    const int first = file.byte(offset);
    if (first <= 0)
        return {};
    EbmlNumber number;
    number.width = 1;
    while (!(first & (0x100 >> number.width)))
        ++number.width;
    const quint64 mask = (quint64(1) << (7 * number.width)) - 1;
    number.value = file.big(offset, number.width) & mask;
    number.isUnknown = number.value == mask;
    return number;
}

} // namespace

QString readMp4(FileWindow& file, MediaFacts&)
{
    bool hasIndex = false;
    qint64 offset = 0;
    for (int i = 0; i < kMostBoxes && offset + 8 <= file.size(); ++i) {
        qint64 length = qint64(file.big(offset, 4));
        hasIndex = hasIndex || file.has(offset + 4, "moov");
        // 1: the length follows in eight bytes. 0: the box reaches to the end.
        if (length == 1)
            length = qint64(file.big(offset + 8, 8));
        else if (length == 0)
            length = file.size() - offset;
        if (length < 8 || length > std::numeric_limits<qint64>::max() - offset)
            return {};
        offset += length;
    }
    if (!hasIndex && offset > file.size())
        return u"the video ends before its index"_s;
    return shortage(file.size(), offset);
}

QString readMatroska(FileWindow& file, MediaFacts&)
{
    constexpr qint64 kIdWidth = 4;
    const QByteArrayView kSegment("\x18\x53\x80\x67", 4);
    const EbmlNumber header = ebmlNumber(file, kIdWidth);
    const qint64 segment = kIdWidth + header.width + qint64(header.value);
    if (header.width == 0 || header.isUnknown || !file.has(segment, kSegment))
        return {};
    const EbmlNumber length = ebmlNumber(file, segment + kIdWidth);
    if (length.width == 0 || length.isUnknown)
        return {};
    return shortage(file.size(), segment + kIdWidth + length.width + qint64(length.value));
}

// Files of more than 1 GiB or so are a chain of such parts.
QString readAvi(FileWindow& file, MediaFacts&)
{
    qint64 offset = 0;
    for (int i = 0; i < kMostBoxes && file.has(offset, "RIFF"); ++i) {
        const qint64 length = qint64(file.little(offset + 4, 4));
        // A recorder that was cut off leaves such sizes, and its videos are whole as far as they go.
        if (length == 0 || length == 0xFFFFFFFF)
            return {};
        offset += 8 + length + (length & 1);
    }
    return shortage(file.size(), offset);
}

QString readAsf(FileWindow& file, MediaFacts&)
{
    constexpr qint64 kFirstObject = 30;
    constexpr int kMostObjects = 64;
    const QByteArrayView kFileProperties("\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\x00\xC0\x0C\x20\x53\x65",
                                         16);
    qint64 offset = kFirstObject;
    for (int i = 0; i < kMostObjects && offset < file.size(); ++i) {
        if (file.has(offset, kFileProperties)) {
            const bool isBroadcast = file.little(offset + 88, 4) & 1;
            return isBroadcast ? QString() : shortage(file.size(), qint64(file.little(offset + 40, 8)));
        }
        const quint64 length = file.little(offset + 16, 8);
        if (length < 24 || length > quint64(file.size()))
            break;
        offset += qint64(length);
    }
    return {};
}
