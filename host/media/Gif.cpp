#include "host/media/Readers.h"

using namespace Qt::StringLiterals;

namespace {

enum Block
{
    kExtension = 0x21,
    kImage = 0x2C,
    kTrailer = 0x3B
};

constexpr int kGraphicControl = 0xF9;
constexpr qint64 kHeader = 13;
constexpr qint64 kImageHeader = 10;

// The bytes of a colour table that such flags announce.
qint64 colourTableBytes(int flags)
{
    return flags & 0x80 ? qint64(3) << ((flags & 7) + 1) : 0;
}

qint64 behindSubBlocks(FileWindow& file, qint64 offset)
{
    while (file.byte(offset) > 0)
        offset += 1 + file.byte(offset);
    return offset + 1;
}

} // namespace

QString readGif(FileWindow& file, MediaFacts& facts)
{
    facts.size = QSize(int(file.little(6, 2)), int(file.little(8, 2)));
    qint64 offset = kHeader + colourTableBytes(file.byte(10));
    for (int images = 0;;) {
        const int block = file.byte(offset);
        if (block == kTrailer)
            return {};
        if (block == kExtension) {
            if (file.byte(offset + 1) == kGraphicControl && (file.byte(offset + 3) & 1))
                facts.hasAlpha = true;
            offset = behindSubBlocks(file, offset + 2);
        } else if (block == kImage) {
            facts.isAnimated = ++images > 1;
            // One byte between the table and the pixels says how they are coded.
            offset += kImageHeader + colourTableBytes(file.byte(offset + 9)) + 1;
            offset = behindSubBlocks(file, offset);
        } else {
            break;
        }
    }
    return u"the image ends before its trailer"_s;
}
