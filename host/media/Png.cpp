#include "host/media/Readers.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kSignature = 8;
constexpr qint64 kChunkFrame = 12; // length, type and checksum

// A large PNG has a chunk for every 8 KiB. After so many its last bytes have to do.
constexpr int kMostChunks = 20'000;

const QByteArrayView kEnd("\0\0\0\0IEND\xAE\x42\x60\x82", 12);

enum ColourType
{
    kGreyAlpha = 4,
    kRgbAlpha = 6
};

void readHeader(FileWindow& file, qint64 body, MediaFacts& facts)
{
    facts.size = QSize(int(file.big(body, 4)), int(file.big(body + 4, 4)));
    facts.bitsPerSample = qMax(8, file.byte(body + 8));
    const int colourType = file.byte(body + 9);
    facts.hasAlpha = colourType == kGreyAlpha || colourType == kRgbAlpha;
}

void readChunk(FileWindow& file, QByteArrayView type, qint64 body, MediaFacts& facts)
{
    if (type == "IHDR") {
        readHeader(file, body, facts);
    } else if (type == "tRNS") {
        facts.hasAlpha = true;
    } else if (type == "acTL") {
        facts.isAnimated = file.big(body, 4) > 1;
    } else if (type == "iCCP") {
        facts.hasIccProfile = true;
    } else if (type == "sRGB") {
        facts.isMarkedSrgb = true;
    } else if (type == "eXIf") {
        facts.orientation = exifOrientation(file, body);
    }
}

} // namespace

QString readPng(FileWindow& file, MediaFacts& facts)
{
    qint64 offset = kSignature;
    for (int i = 0; i < kMostChunks && offset + kChunkFrame <= file.size(); ++i) {
        const qint64 length = qint64(file.big(offset, 4));
        const QByteArray type = file.bytes(offset + 4, 4).toByteArray();
        if (type == "IEND")
            return {};
        readChunk(file, type, offset + 8, facts);
        offset += kChunkFrame + length;
    }
    const bool isWhole = file.has(file.size() - kEnd.size(), kEnd);
    return isWhole ? QString() : u"the image ends before its end chunk"_s;
}
