#include "host/media/Signature.h"

namespace {

struct MagicRow
{
    qint64 offset;
    QByteArrayView magic;
    Signature signature;
};

template <size_t N>
constexpr QByteArrayView magic(const char (&text)[N])
{
    return QByteArrayView(text, N - 1);
}

constexpr Signature image(MediaFormat format, const char* name)
{
    return {format, MediaKind::Image, name};
}

constexpr Signature video(MediaFormat format, const char* name)
{
    return {format, MediaKind::Video, name};
}

constexpr Signature sound(const char* name)
{
    return {MediaFormat::Sound, MediaKind::Sound, name};
}

using enum MediaFormat;

// A longer magic comes before a shorter one that begins it.
constexpr MagicRow kMagics[] = {
    {0, magic("\xFF\xD8\xFF"), image(Jpeg, "JPEG")},
    {0, magic("\x89PNG\r\n\x1A\n"), image(Png, "PNG")},
    {0, magic("GIF87a"), image(Gif, "GIF")},
    {0, magic("GIF89a"), image(Gif, "GIF")},
    {0, magic("II*\0"), image(Tiff, "TIFF")},
    {0, magic("MM\0*"), image(Tiff, "TIFF")},
    {0, magic("\xFF\x0A"), image(OtherImage, "JPEG XL")},
    {0, magic("\0\0\0\x0CJXL \r\n\x87\n"), image(OtherImage, "JPEG XL")},
    {0, magic("\0\0\0\x0CjP  \r\n\x87\n"), image(OtherImage, "JPEG 2000")},
    {0, magic("\xFF\x4F\xFF\x51"), image(OtherImage, "JPEG 2000")},
    {4, magic("ftypavif"), image(OtherImage, "AVIF")},
    {4, magic("ftypavis"), image(OtherImage, "animated AVIF")},
    {4, magic("ftyphei"), image(OtherImage, "HEIC")},
    {4, magic("ftyphev"), image(OtherImage, "HEIC")},
    {4, magic("ftypmif1"), image(OtherImage, "HEIF")},
    {4, magic("ftypmsf1"), image(OtherImage, "HEIF")},
    {0, magic("8BPS\0\1"), image(OtherImage, "PSD")},
    {0, magic("\x76\x2F\x31\x01"), image(OtherImage, "OpenEXR")},
    {0, magic("#?RADIANCE"), image(OtherImage, "Radiance HDR")},
    {0, magic("qoif"), image(OtherImage, "QOI")},
    {0, magic("SDPX"), image(OtherImage, "DPX")},
    {0, magic("XPDS"), image(OtherImage, "DPX")},
    {4, magic("ftyp"), video(Mp4, "MP4")},
    {4, magic("moov"), video(Mp4, "QuickTime")},
    {4, magic("mdat"), video(Mp4, "QuickTime")},
    {4, magic("wide"), video(Mp4, "QuickTime")},
    {4, magic("free"), video(Mp4, "QuickTime")},
    {4, magic("skip"), video(Mp4, "QuickTime")},
    {4, magic("styp"), video(Mp4, "MP4")},
    {0, magic("\x1A\x45\xDF\xA3"), video(Matroska, "Matroska")},
    {0, magic("FLV\1"), video(Flv, "FLV")},
    {0, magic("\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"), video(Asf, "ASF")},
    {0, magic("OggS"), video(Ogg, "Ogg")},
    {0, magic("\0\0\1\xB3"), video(RawStream, "MPEG-2 without a container")},
    {0, magic("\0\0\1\xB0"), video(RawStream, "MPEG-4 without a container")},
    {0, magic("YUV4MPEG2 "), video(RawStream, "YUV4MPEG")},
    {0, magic("DKIF\0\0"), video(OtherVideo, "IVF")},
    {0, magic("\x06\x0E\x2B\x34\x02\x05\x01\x01"), video(OtherVideo, "MXF")},
    {0, magic(".RMF\0\0"), video(OtherVideo, "RealMedia")},
    {0, magic("\x1F\x07\x00"), video(OtherVideo, "DV")},
    {0, magic("nut/multimedia container\0"), video(OtherVideo, "NUT")},
    {0, magic("\xB7\xD8\x00\x20\x37\x49\xDA\x11"), video(OtherVideo, "WTV")},
    {0, magic("fLaC"), sound("FLAC")},
    {0, magic("ID3"), sound("MP3")},
    {0, magic("#!AMR"), sound("AMR")},
    {0, magic("MThd"), sound("MIDI")},
    {0, magic("wvpk"), sound("WavPack")},
    {0, magic("MAC "), sound("Monkey's Audio")},
    {0, magic(".snd"), sound("AU")},
    {0, magic("caff"), sound("CAF")},
};

// A container of containers: what is in it stands in the third word.
constexpr MagicRow kRiffForms[] = {
    {8, magic("WEBP"), image(WebP, "WebP")},
    {8, magic("AVI "), video(Avi, "AVI")},
    {8, magic("AVIX"), video(Avi, "AVI")},
    {8, magic("WAVE"), sound("WAVE")},
};

constexpr MagicRow kIffForms[] = {
    {8, magic("AIFF"), sound("AIFF")},
    {8, magic("AIFC"), sound("AIFF")},
    {8, magic("ILBM"), image(OtherImage, "ILBM")},
};

template <size_t N>
Signature lookUp(FileWindow& file, const MagicRow (&rows)[N])
{
    for (const MagicRow& row : rows) {
        if (file.has(row.offset, row.magic))
            return row.signature;
    }
    return {};
}

// Every packet begins with the same byte. Recordings begin anywhere in one; discs put four bytes before each.
bool isTransportStream(FileWindow& file)
{
    constexpr qsizetype kPackets = 5;
    constexpr char kSync = 'G';
    for (const qsizetype packet : {188, 192, 204}) {
        const QByteArrayView head = file.bytes(0, packet * (kPackets + 1));
        for (qsizetype first = 0; first < packet && first + packet * kPackets < head.size(); ++first) {
            qsizetype found = 0;
            while (found <= kPackets && head[first + packet * found] == kSync)
                ++found;
            if (found > kPackets)
                return true;
        }
    }
    return false;
}

// The pack header may come after some bytes: recordings begin anywhere. One alone there would be an accident.
bool isProgramStream(FileWindow& file)
{
    const QByteArrayView head = file.bytes(0, FileWindow::kMost);
    const QByteArrayView kPack("\0\0\1\xBA", 4);
    int packs = 0;
    for (qsizetype at = head.indexOf(kPack); at >= 0 && at + 4 < head.size();
         at = head.indexOf(kPack, at + 4)) {
        const uchar next = static_cast<uchar>(head[at + 4]);
        const bool isMpeg2 = (next & 0xC4) == 0x44;
        const bool isMpeg1 = (next & 0xF1) == 0x21;
        packs += isMpeg1 || isMpeg2;
        if (packs > 0 && (at == 0 || packs > 2))
            return true;
    }
    return false;
}

// The first unit of such a stream is a parameter set, a delimiter or a note of the encoder's.
Signature annexB(FileWindow& file)
{
    const int prefix = file.has(0, magic("\0\0\0\1")) ? 4 : file.has(0, magic("\0\0\1")) ? 3 : 0;
    const int header = prefix > 0 ? file.byte(prefix) : 0x80;
    if (header < 0 || (header & 0x80))
        return {};
    const int unit = header & 0x1F;
    if (unit == 6 || unit == 7 || unit == 9)
        return video(RawStream, "H.264 without a container");
    const int hevcUnit = header >> 1;
    if (hevcUnit == 32 || hevcUnit == 35 || hevcUnit == 39)
        return video(RawStream, "HEVC without a container");
    return {};
}

bool isBmp(FileWindow& file)
{
    const quint64 header = file.little(14, 4);
    return file.has(0, magic("BM")) && header >= 12 && header <= 124;
}

bool isPnm(FileWindow& file)
{
    const QByteArrayView head = file.bytes(0, 3);
    const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    return head.size() == 3 && head[0] == 'P' && head[1] >= '1' && head[1] <= '7' && isBlank(head[2]);
}

bool isTarga(FileWindow& file)
{
    return file.has(file.size() - 18, magic("TRUEVISION-XFILE.\0"));
}

// MPEG sound has no telling magic: the values that no frame header has are ruled out.
bool isMpegSound(FileWindow& file)
{
    const quint64 header = file.big(0, 4);
    const bool isSync = (header >> 21) == 0x7FF;
    const bool isAdts = (header >> 16 & 0xFFF6) == 0xFFF0;
    const bool hasLayer = (header >> 17 & 3) != 0 && (header >> 19 & 3) != 1;
    const bool hasRate = (header >> 12 & 0xF) != 0xF && (header >> 10 & 3) != 3;
    return isSync && (isAdts || (hasLayer && hasRate));
}

} // namespace

Signature recognise(FileWindow& file)
{
    if (file.has(0, magic("RIFF")))
        return lookUp(file, kRiffForms);
    if (file.has(0, magic("FORM")))
        return lookUp(file, kIffForms);
    if (const Signature found = lookUp(file, kMagics); found.kind != MediaKind::Unknown)
        return found;
    if (const Signature found = annexB(file); found.kind != MediaKind::Unknown)
        return found;
    if (isBmp(file))
        return image(Bmp, "BMP");
    if (isTransportStream(file))
        return video(TransportStream, "MPEG transport stream");
    if (isProgramStream(file))
        return video(ProgramStream, "MPEG program stream");
    if (isPnm(file))
        return image(Pnm, "PNM");
    if (isTarga(file))
        return image(Targa, "Targa");
    return isMpegSound(file) ? sound("MPEG sound") : Signature{};
}
