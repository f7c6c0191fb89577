#include "host/media/ImageChunks.h"

#include <QtEndian>

#include <array>

namespace {

constexpr qsizetype kPngSignature = 8;
constexpr qsizetype kPngFrame = 12; // length, type and checksum
constexpr qsizetype kRiffHeader = 12;
constexpr qsizetype kRiffFrame = 8; // type and length
constexpr char kProfileFlag = 0x20;
constexpr char kAlphaFlag = 0x10;

template <typename Number, void (*store)(Number, void*)>
QByteArray numberBytes(Number number)
{
    QByteArray bytes(sizeof number, Qt::Uninitialized);
    store(number, bytes.data());
    return bytes;
}

QByteArray big32(quint32 number)
{
    return numberBytes<quint32, qToBigEndian<quint32>>(number);
}

QByteArray little32(quint32 number)
{
    return numberBytes<quint32, qToLittleEndian<quint32>>(number);
}

// PNG's checksum: CRC-32 with the bits of each byte in reverse.
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

QByteArray pngChunk(const QByteArray& type, const QByteArray& body)
{
    return big32(quint32(body.size())) + type + body + big32(checksum(type + body));
}

QByteArray riffChunk(const QByteArray& type, const QByteArray& body)
{
    return type + little32(quint32(body.size())) + body + QByteArray(body.size() & 1, '\0');
}

// zlib's stream is what follows the length in Qt's.
QByteArray deflated(const QByteArray& bytes)
{
    return qCompress(bytes).sliced(4);
}

// The header that a WebP needs which has more than pixels.
QByteArray extendedHeader(QSize size, bool hasAlpha)
{
    return QByteArray(1, hasAlpha ? kAlphaFlag : '\0') + QByteArray(3, '\0') +
           little32(quint32(size.width() - 1)).first(3) + little32(quint32(size.height() - 1)).first(3);
}

} // namespace

QByteArray withPngChunks(const QByteArray& png, const QByteArray& iccProfile, const QByteArray& exif)
{
    QByteArray added;
    if (!iccProfile.isEmpty())
        added += pngChunk("iCCP", QByteArray("ICC Profile\0\0", 13) + deflated(iccProfile));
    if (!exif.isEmpty())
        added += pngChunk("eXIf", exif);

    QByteArray result = png.first(qMin(kPngSignature, png.size()));
    for (qsizetype at = kPngSignature; at + kPngFrame <= png.size();) {
        const qsizetype length = qsizetype(qFromBigEndian<quint32>(png.constData() + at)) + kPngFrame;
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

QByteArray withWebpProfile(const QByteArray& webp, const QByteArray& iccProfile, QSize size, bool hasAlpha)
{
    if (iccProfile.isEmpty())
        return webp;
    QByteArray header = extendedHeader(size, hasAlpha);
    QByteArray others;
    for (qsizetype at = kRiffHeader; at + kRiffFrame <= webp.size();) {
        const qsizetype length = qsizetype(qFromLittleEndian<quint32>(webp.constData() + at + 4));
        if (length > webp.size() - at - kRiffFrame)
            return {};
        const QByteArrayView type = QByteArrayView(webp).sliced(at, 4);
        const QByteArray body = webp.sliced(at + kRiffFrame, length);
        if (type == "VP8X" && length == header.size())
            header = body;
        else if (type != "ICCP")
            others += riffChunk(type.toByteArray(), body);
        at += kRiffFrame + length + (length & 1);
    }
    header[0] = char(header[0] | kProfileFlag);
    const QByteArray chunks = "WEBP" + riffChunk("VP8X", header) + riffChunk("ICCP", iccProfile) + others;
    return "RIFF" + little32(quint32(chunks.size())) + chunks;
}
