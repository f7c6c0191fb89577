#include "host/media/Readers.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kFirstChunk = 12;
constexpr int kMostChunks = 64; // those before the images are few, those behind them hold metadata

enum Flag
{
    kAnimation = 0x02,
    kAlpha = 0x10,
    kIccProfile = 0x20
};

void readChunk(FileWindow& file, QByteArrayView type, qint64 body, MediaFacts& facts)
{
    if (type == "VP8X") {
        const int flags = file.byte(body);
        facts.isAnimated = flags & kAnimation;
        facts.hasAlpha = flags & kAlpha;
        facts.size = QSize(int(file.little(body + 4, 3)) + 1, int(file.little(body + 7, 3)) + 1);
    } else if (type == "ICCP") {
        facts.hasIccProfile = true;
    } else if (type == "EXIF") {
        // Some writers put the header there that JPEG needs.
        const bool hasHeader = file.has(body, QByteArrayView("Exif\0\0", 6));
        facts.orientation = exifOrientation(file, body + (hasHeader ? 6 : 0));
    } else if (type == "VP8 " && facts.size.isEmpty()) {
        facts.size = QSize(int(file.little(body + 6, 2) & 0x3FFF), int(file.little(body + 8, 2) & 0x3FFF));
    } else if (type == "VP8L" && facts.size.isEmpty()) {
        const quint64 bits = file.little(body + 1, 4);
        facts.size = QSize(int(bits & 0x3FFF) + 1, int(bits >> 14 & 0x3FFF) + 1);
        facts.hasAlpha = bits >> 28 & 1;
    }
}

} // namespace

QString readWebp(FileWindow& file, MediaFacts& facts)
{
    qint64 offset = kFirstChunk;
    for (int i = 0; i < kMostChunks && offset + 8 <= file.size(); ++i) {
        const qint64 length = qint64(file.little(offset + 4, 4));
        readChunk(file, file.bytes(offset, 4).toByteArray(), offset + 8, facts);
        offset += 8 + length + (length & 1);
    }
    const qint64 stated = qint64(file.little(4, 4)) + 8;
    if (stated <= file.size())
        return {};
    return u"the image has %1 of the %2 bytes that it states"_s.arg(file.size()).arg(stated);
}
