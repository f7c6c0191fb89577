#include "host/media/Readers.h"

namespace {

struct Signature
{
    qint64 offset;
    QByteArrayView magic;
    MediaFormat format;
    const char* name;
    bool (*isLikely)(FileWindow&) = nullptr; // what else has to be there
};

template <size_t N>
constexpr QByteArrayView magic(const char (&text)[N])
{
    return QByteArrayView(text, N - 1);
}

using enum MediaFormat;

bool isRiff(FileWindow& file)
{
    return file.has(0, "RIFF");
}

bool isIff(FileWindow& file)
{
    return file.has(0, "FORM");
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

// The header of a coded stream's first unit; -1 where none begins.
int firstUnit(FileWindow& file)
{
    const int prefix = file.has(0, magic("\0\0\0\1")) ? 4 : file.has(0, magic("\0\0\1")) ? 3 : 0;
    const int header = prefix > 0 ? file.byte(prefix) : -1;
    return header & 0x80 ? -1 : header;
}

// The first unit is a parameter set, a delimiter or a note of the encoder's.
bool isH264(FileWindow& file)
{
    const int unit = firstUnit(file) & 0x1F;
    return unit == 6 || unit == 7 || unit == 9;
}

bool isHevc(FileWindow& file)
{
    const int unit = firstUnit(file) >> 1;
    return unit == 32 || unit == 35 || unit == 39;
}

bool isBmp(FileWindow& file)
{
    const quint64 header = file.little(14, 4);
    return header >= 12 && header <= 124;
}

bool isPnm(FileWindow& file)
{
    const QByteArrayView head = file.bytes(0, 3);
    const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    return head.size() == 3 && head[1] >= '1' && head[1] <= '7' && isBlank(head[2]);
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

// A longer magic comes before a shorter one that begins it.
constexpr Signature kSignatures[] = {
    {0, magic("\xFF\xD8\xFF"), Jpeg, "JPEG"},
    {0, magic("\x89PNG\r\n\x1A\n"), Png, "PNG"},
    {0, magic("GIF87a"), Gif, "GIF"},
    {0, magic("GIF89a"), Gif, "GIF"},
    {0, magic("II*\0"), Tiff, "TIFF"},
    {0, magic("MM\0*"), Tiff, "TIFF"},
    {0, magic("\xFF\x0A"), OtherImage, "JPEG XL"},
    {0, magic("\0\0\0\x0CJXL \r\n\x87\n"), OtherImage, "JPEG XL"},
    {0, magic("\0\0\0\x0CjP  \r\n\x87\n"), OtherImage, "JPEG 2000"},
    {0, magic("\xFF\x4F\xFF\x51"), OtherImage, "JPEG 2000"},
    {4, magic("ftypavif"), OtherImage, "AVIF"},
    {4, magic("ftypavis"), OtherImage, "animated AVIF"},
    {4, magic("ftyphei"), OtherImage, "HEIC"},
    {4, magic("ftyphev"), OtherImage, "HEIC"},
    {4, magic("ftypmif1"), OtherImage, "HEIF"},
    {4, magic("ftypmsf1"), OtherImage, "HEIF"},
    {0, magic("8BPS\0\1"), OtherImage, "PSD"},
    {0, magic("\x76\x2F\x31\x01"), OtherImage, "OpenEXR"},
    {0, magic("#?RADIANCE"), OtherImage, "Radiance HDR"},
    {0, magic("qoif"), OtherImage, "QOI"},
    {0, magic("SDPX"), OtherImage, "DPX"},
    {0, magic("XPDS"), OtherImage, "DPX"},
    {4, magic("ftyp"), Mp4, "MP4"},
    {4, magic("moov"), Mp4, "QuickTime"},
    {4, magic("mdat"), Mp4, "QuickTime"},
    {4, magic("wide"), Mp4, "QuickTime"},
    {4, magic("free"), Mp4, "QuickTime"},
    {4, magic("skip"), Mp4, "QuickTime"},
    {4, magic("styp"), Mp4, "MP4"},
    {0, magic("\x1A\x45\xDF\xA3"), Matroska, "Matroska"},
    {0, magic("FLV\1"), Flv, "FLV"},
    {0, magic("\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"), Asf, "ASF"},
    {0, magic("OggS"), Ogg, "Ogg"},
    {0, magic("\0\0\1\xB3"), RawStream, "MPEG-2 without a container"},
    {0, magic("\0\0\1\xB0"), RawStream, "MPEG-4 without a container"},
    {0, magic("YUV4MPEG2 "), RawStream, "YUV4MPEG"},
    {0, magic("DKIF\0\0"), OtherVideo, "IVF"},
    {0, magic("\x06\x0E\x2B\x34\x02\x05\x01\x01"), OtherVideo, "MXF"},
    {0, magic(".RMF\0\0"), OtherVideo, "RealMedia"},
    {0, magic("\x1F\x07\x00"), OtherVideo, "DV"},
    {0, magic("nut/multimedia container\0"), OtherVideo, "NUT"},
    {0, magic("\xB7\xD8\x00\x20\x37\x49\xDA\x11"), OtherVideo, "WTV"},
    {0, magic("fLaC"), Sound, "FLAC"},
    {0, magic("ID3"), Sound, "MP3"},
    {0, magic("#!AMR"), Sound, "AMR"},
    {0, magic("MThd"), Sound, "MIDI"},
    {0, magic("wvpk"), Sound, "WavPack"},
    {0, magic("MAC "), Sound, "Monkey's Audio"},
    {0, magic(".snd"), Sound, "AU"},
    {0, magic("caff"), Sound, "CAF"},
    // Containers of containers: what is in them stands in the third word.
    {8, magic("WEBP"), WebP, "WebP", isRiff},
    {8, magic("AVI "), Avi, "AVI", isRiff},
    {8, magic("AVIX"), Avi, "AVI", isRiff},
    {8, magic("WAVE"), Sound, "WAVE", isRiff},
    {8, magic("AIFF"), Sound, "AIFF", isIff},
    {8, magic("AIFC"), Sound, "AIFF", isIff},
    {8, magic("ILBM"), OtherImage, "ILBM", isIff},
    // Without a telling magic: the likelier the accident, the later it comes.
    {0, magic(""), RawStream, "H.264 without a container", isH264},
    {0, magic(""), RawStream, "HEVC without a container", isHevc},
    {0, magic("BM"), Bmp, "BMP", isBmp},
    {0, magic(""), TransportStream, "MPEG transport stream", isTransportStream},
    {0, magic(""), ProgramStream, "MPEG program stream", isProgramStream},
    {0, magic("P"), Pnm, "PNM", isPnm},
    {0, magic(""), Targa, "Targa", isTarga},
    {0, magic(""), Sound, "MPEG sound", isMpegSound},
};

} // namespace

void recognise(FileWindow& file, MediaFacts& facts)
{
    for (const Signature& row : kSignatures) {
        if (file.has(row.offset, row.magic) && (!row.isLikely || row.isLikely(file))) {
            facts.format = row.format;
            facts.name = QLatin1String(row.name);
            return;
        }
    }
}
