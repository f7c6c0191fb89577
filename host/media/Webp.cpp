#include <QtEndian>

#include "host/media/ImageChunks.h"
#include "host/media/Readers.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kFirstChunk = 12;
constexpr qsizetype kChunkFrame = 8; // type and length
constexpr int kMostChunks = 64;      // those before the images are few, those after them hold metadata

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
        facts.orientation = exifOrientation(file, body);
    } else if (type == "VP8 " && facts.size.isEmpty()) {
        facts.size = QSize(int(file.little(body + 6, 2) & 0x3FFF), int(file.little(body + 8, 2) & 0x3FFF));
    } else if (type == "VP8L" && facts.size.isEmpty()) {
        const quint64 bits = file.little(body + 1, 4);
        facts.size = QSize(int(bits & 0x3FFF) + 1, int(bits >> 14 & 0x3FFF) + 1);
        facts.hasAlpha = bits >> 28 & 1;
    }
}

QByteArray little32(qsizetype number)
{
    QByteArray bytes(sizeof(quint32), Qt::Uninitialized);
    qToLittleEndian(quint32(number), bytes.data());
    return bytes;
}

QByteArray chunk(const QByteArray& type, const QByteArray& body)
{
    return type + little32(body.size()) + body + QByteArray(body.size() & 1, '\0');
}

// The body of the chunk that a WebP needs which has more than pixels.
QByteArray extendedHeader(const MediaFacts& image)
{
    return little32(image.hasAlpha ? kAlpha : 0) + little32(image.size.width() - 1).first(3) +
           little32(image.size.height() - 1).first(3);
}

} // namespace

QString readWebp(FileWindow& file, MediaFacts& facts)
{
    qint64 offset = kFirstChunk;
    for (int i = 0; i < kMostChunks && offset + kChunkFrame <= file.size(); ++i) {
        const qint64 length = qint64(file.little(offset + 4, 4));
        readChunk(file, file.bytes(offset, 4).toByteArray(), offset + kChunkFrame, facts);
        offset += kChunkFrame + length + (length & 1);
    }
    const qint64 stated = qint64(file.little(4, 4)) + 8;
    if (stated <= file.size())
        return {};
    return u"the image has %1 of the %2 bytes that its header states"_s.arg(file.size()).arg(stated);
}

QByteArray withWebpProfile(const QByteArray& webp, const QByteArray& iccProfile, const MediaFacts& image)
{
    if (iccProfile.isEmpty())
        return webp;
    QByteArray header = extendedHeader(image);
    QByteArray others;
    for (qsizetype at = kFirstChunk; at + kChunkFrame <= webp.size();) {
        const qsizetype length = qsizetype(qFromLittleEndian<quint32>(webp.constData() + at + 4));
        if (length > webp.size() - at - kChunkFrame)
            return {};
        const QByteArray type = webp.sliced(at, 4);
        const QByteArray body = webp.sliced(at + kChunkFrame, length);
        if (type == "VP8X" && length == header.size())
            header = body;
        else if (type != "ICCP")
            others += chunk(type, body);
        at += kChunkFrame + length + (length & 1);
    }
    header[0] = char(header[0] | kIccProfile);
    const QByteArray chunks = "WEBP" + chunk("VP8X", header) + chunk("ICCP", iccProfile) + others;
    return "RIFF" + little32(chunks.size()) + chunks;
}
