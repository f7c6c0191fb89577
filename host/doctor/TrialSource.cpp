#include "host/doctor/TrialSource.h"

#include <QByteArray>
#include <QFile>
#include <QtEndian>

#include "host/doctor/EncoderProbe.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kSide = 64;
constexpr int kRowBytes = kSide * 3;

// Gradients with a pattern over them, 8 bits for each of red, green and blue.
QByteArray pixelRow(int y)
{
    QByteArray row;
    for (int x = 0; x < kSide; ++x)
        row.append(char(x * 4)).append(char(y * 4)).append(char((x ^ y) * 4));
    return row;
}

QString write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    const bool written =
        file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush();
    return written ? QString() : file.errorString();
}

quint32 crc32(const QByteArray& bytes)
{
    quint32 crc = ~0U;
    for (const char byte : bytes) {
        crc ^= quint8(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1) ? 0xEDB88320U : 0U);
    }
    return ~crc;
}

QByteArray bigEndian(quint32 number)
{
    QByteArray bytes(sizeof number, Qt::Uninitialized);
    qToBigEndian(number, bytes.data());
    return bytes;
}

QByteArray pngChunk(const QByteArray& type, const QByteArray& content)
{
    const QByteArray named = type + content;
    return bigEndian(quint32(content.size())) + named + bigEndian(crc32(named));
}

QString errorOf(const ToolAnswer& run)
{
    if (!run.error.isEmpty() || run.exitCode == 0)
        return run.error;
    return u"code %1, %2"_s.arg(run.exitCode).arg(run.output.section(u'\n', 0, 0));
}

} // namespace

QString makePngSource(const QString& path)
{
    QByteArray rows;
    for (int y = 0; y < kSide; ++y)
        rows += '\0' + pixelRow(y); // each begins with its filter: none
    // 8 bits, true colour, the one compression, the one filter method, not interlaced.
    const QByteArray header = bigEndian(kSide) + bigEndian(kSide) + QByteArray("\x08\x02\0\0\0", 5);
    constexpr int kQtsOwnHeader = 4;
    return write(path, "\x89PNG\r\n\x1a\n" + pngChunk("IHDR", header) +
                           pngChunk("IDAT", qCompress(rows, 1).mid(kQtsOwnHeader)) + pngChunk("IEND", {}));
}

QString makeJpegSource(const QString& path, const QString& encoder, const QString& plain)
{
    QByteArray image = "P6\n64 64\n255\n";
    static_assert(kRowBytes == 64 * 3);
    for (int y = 0; y < kSide; ++y)
        image += pixelRow(y);
    QString error = write(plain, image);
    if (!error.isEmpty())
        return error;
    return errorOf(runTool(encoder, {u"-quality"_s, u"98"_s, u"-outfile"_s, path, plain}));
}

QString makeVideoSource(const QString& path, const QString& encoder)
{
    const QString arguments = u"-v error -f lavfi -i testsrc2=s=128x96:r=25:d=0.5 -f lavfi -i sine=d=0.5 "
                              "-c:v mpeg4 -q:v 1 -c:a pcm_s16le -f matroska"_s;
    return errorOf(runTool(encoder, arguments.split(u' ') << path));
}
