#include "host/media/Readers.h"

using namespace Qt::StringLiterals;

namespace {

enum Marker
{
    kRestart0 = 0xD0,
    kRestart7 = 0xD7,
    kStartOfImage = 0xD8,
    kEndOfImage = 0xD9,
    kStartOfScan = 0xDA,
    kApp1 = 0xE1,
    kApp2 = 0xE2
};

const QByteArrayView kIccProfile("ICC_PROFILE\0", 12);
const QByteArrayView kEnd("\xFF\xD9", 2);

bool isFrameHeader(int marker)
{
    // C4, C8 and CC of this range are tables.
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

bool hasNoLength(int marker)
{
    return (marker >= kRestart0 && marker <= kStartOfImage) || marker == 0x01;
}

void readSegment(FileWindow& file, int marker, qint64 body, MediaFacts& facts)
{
    if (isFrameHeader(marker)) {
        facts.bitsPerSample = qMax(8, file.byte(body));
        facts.size = QSize(int(file.big(body + 3, 2)), int(file.big(body + 1, 2)));
    } else if (marker == kApp1 && file.has(body, kExifHeader)) {
        facts.orientation = exifOrientation(file, body);
    } else if (marker == kApp2 && file.has(body, kIccProfile)) {
        facts.hasIccProfile = true;
    }
}

// The place of the marker that ends the coded pixels which begin at `offset`; the end of the file if none
// does.
qint64 endOfPixels(FileWindow& file, qint64 offset)
{
    for (;;) {
        const QByteArrayView block = file.bytes(offset, FileWindow::kMost);
        if (block.size() < 2)
            return file.size();
        qsizetype at = block.indexOf('\xFF');
        while (at >= 0 && at + 1 < block.size()) {
            const int next = static_cast<uchar>(block[at + 1]);
            if (next != 0 && next != 0xFF && !(next >= kRestart0 && next <= kRestart7))
                return offset + at;
            at = block.indexOf('\xFF', at + (next == 0xFF ? 1 : 2));
        }
        offset += at < 0 ? block.size() : at;
    }
}

// What follows the end-of-image marker is not the image's: previews, videos, padding.
bool reachesEndOfImage(FileWindow& file, qint64 offset, MediaFacts& facts)
{
    bool hasPixels = false;
    while (offset + 1 < file.size() && file.byte(offset) == 0xFF) {
        const int marker = file.byte(offset + 1);
        if (marker == kEndOfImage)
            return hasPixels;
        if (marker == 0xFF || hasNoLength(marker)) {
            offset += marker == 0xFF ? 1 : 2;
            continue;
        }
        const qint64 length = qint64(file.big(offset + 2, 2));
        if (length < 2)
            return false;
        if (!hasPixels)
            readSegment(file, marker, offset + 4, facts);
        offset += 2 + length;
        if (marker != kStartOfScan)
            continue;
        // Embedded previews lie before the pixels, so an end that is the file's is the image's.
        hasPixels = true;
        if (offset + kEnd.size() <= file.size() && file.has(file.size() - kEnd.size(), kEnd))
            return true;
        offset = endOfPixels(file, offset);
    }
    return false;
}

} // namespace

QString readJpeg(FileWindow& file, MediaFacts& facts)
{
    const bool isWhole = reachesEndOfImage(file, 2, facts);
    return isWhole ? QString() : u"the image ends before its end-of-image marker"_s;
}
