#include <QtEndian>

#include <array>

#include "host/media/ImageChunks.h"
#include "host/media/Readers.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kSignature = 8;
constexpr qsizetype kChunkFrame = 12; // length, type and checksum

// A large PNG has a chunk for every 8 KiB. After so many its last bytes have to do.
constexpr int kMostChunks = 20'000;

const QByteArrayView kEnd("\0\0\0\0IEND\xAE\x42\x60\x82", 12);

enum ColourType
{
    kGreyAlpha = 4,
    kRgbAlpha = 6
};

void readChunk(FileWindow& file, QByteArrayView type, qint64 body, MediaFacts& facts)
{
    if (type == "IHDR") {
        facts.size = QSize(int(file.big(body, 4)), int(file.big(body + 4, 4)));
        facts.bitsPerSample = qMax(8, file.byte(body + 8));
        const int colourType = file.byte(body + 9);
        facts.hasAlpha = colourType == kGreyAlpha || colourType == kRgbAlpha;
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

QByteArray big32(quint32 number)
{
    QByteArray bytes(sizeof number, Qt::Uninitialized);
    qToBigEndian(number, bytes.data());
    return bytes;
}

// CRC-32 with the bits of each byte in reverse.
quint32 checksum(const QByteArray& bytes)
{
    static const auto kTable = [] {
        std::array<quint32, 256> table{};
        for (quint32 i = 0; i < 256; ++i) {
            table[i] = i;
            for (int bit = 0; bit < 8; ++bit)
                table[i] = table[i] >> 1 ^ (table[i] & 1 ? 0xEDB88320 : 0);
        }
        return table;
    }();
    quint32 sum = ~0U;
    for (const char byte : bytes)
        sum = kTable[(sum ^ static_cast<uchar>(byte)) & 0xFF] ^ sum >> 8;
    return ~sum;
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

QByteArray pngChunk(const QByteArray& type, const QByteArray& body)
{
    return big32(quint32(body.size())) + type + body + big32(checksum(type + body));
}

QByteArray withPngChunks(const QByteArray& png, const QByteArray& iccProfile, const QByteArray& exif)
{
    QByteArray added;
    // zlib's stream is what follows the length in Qt's.
    if (!iccProfile.isEmpty())
        added += pngChunk("iCCP", QByteArray("ICC Profile\0\0", 13) + qCompress(iccProfile).sliced(4));
    if (!exif.isEmpty())
        added += pngChunk("eXIf", exif);

    QByteArray result = png.first(qMin(kSignature, png.size()));
    for (qsizetype at = kSignature; at + kChunkFrame <= png.size();) {
        const qsizetype length = qsizetype(qFromBigEndian<quint32>(png.constData() + at)) + kChunkFrame;
        if (length > png.size() - at)
            return {};
        const QByteArrayView type = QByteArrayView(png).sliced(at + 4, 4);
        // The profile says more than the mark, and both must not be there.
        const bool isColour = type == "iCCP" || type == "sRGB";
        if (!(isColour && !iccProfile.isEmpty()) && !(type == "eXIf" && !exif.isEmpty()))
            result += QByteArrayView(png).sliced(at, length);
        if (type == "IHDR")
            result += added;
        if (type == "IEND")
            return result;
        at += length;
    }
    return {};
}
