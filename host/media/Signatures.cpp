#include <string_view>

#include "host/media/Readers.h"

using namespace std::string_view_literals;

namespace {

struct Signature
{
    qint64 offset;
    QByteArrayView magic;
    MediaFormat format;
    const char* name;
    bool (*isLikely)(FileWindow&) = nullptr; // what else has to be there
};

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
    const QByteArrayView kPack = "\0\0\1\xBA"sv;
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
    const int prefix = file.has(0, "\0\0\0\1"sv) ? 4 : file.has(0, "\0\0\1"sv) ? 3 : 0;
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
    return file.has(file.size() - 18, "TRUEVISION-XFILE.\0"sv);
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
    {0, "\xFF\xD8\xFF"sv, Jpeg, "JPEG"},
    {0, "\x89PNG\r\n\x1A\n"sv, Png, "PNG"},
    {0, "GIF87a"sv, Gif, "GIF"},
    {0, "GIF89a"sv, Gif, "GIF"},
    {0, "II*\0"sv, Tiff, "TIFF"},
    {0, "MM\0*"sv, Tiff, "TIFF"},
    {0, "\xFF\x0A"sv, OtherImage, "JPEG XL"},
    {0, "\0\0\0\x0CJXL \r\n\x87\n"sv, OtherImage, "JPEG XL"},
    {0, "\0\0\0\x0CjP  \r\n\x87\n"sv, OtherImage, "JPEG 2000"},
    {0, "\xFF\x4F\xFF\x51"sv, OtherImage, "JPEG 2000"},
    {4, "ftypavif"sv, OtherImage, "AVIF"},
    {4, "ftypavis"sv, OtherImage, "animated AVIF"},
    {4, "ftyphei"sv, OtherImage, "HEIC"},
    {4, "ftyphev"sv, OtherImage, "HEIC"},
    {4, "ftypmif1"sv, OtherImage, "HEIF"},
    {4, "ftypmsf1"sv, OtherImage, "HEIF"},
    {0, "8BPS\0\1"sv, OtherImage, "PSD"},
    {0, "\x76\x2F\x31\x01"sv, OtherImage, "OpenEXR"},
    {0, "#?RADIANCE"sv, OtherImage, "Radiance HDR"},
    {0, "qoif"sv, OtherImage, "QOI"},
    {0, "SDPX"sv, OtherImage, "DPX"},
    {0, "XPDS"sv, OtherImage, "DPX"},
    {4, "ftyp"sv, Mp4, "MP4"},
    {4, "moov"sv, Mp4, "QuickTime"},
    {4, "mdat"sv, Mp4, "QuickTime"},
    {4, "wide"sv, Mp4, "QuickTime"},
    {4, "free"sv, Mp4, "QuickTime"},
    {4, "skip"sv, Mp4, "QuickTime"},
    {4, "styp"sv, Mp4, "MP4"},
    {0, "\x1A\x45\xDF\xA3"sv, Matroska, "Matroska"},
    {0, "FLV\1"sv, Flv, "FLV"},
    {0, "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"sv, Asf, "ASF"},
    {0, "OggS"sv, Ogg, "Ogg"},
    {0, "\0\0\1\xB3"sv, RawStream, "MPEG-2 without a container"},
    {0, "\0\0\1\xB0"sv, RawStream, "MPEG-4 without a container"},
    {0, "YUV4MPEG2 "sv, RawStream, "YUV4MPEG"},
    {0, "DKIF\0\0"sv, OtherVideo, "IVF"},
    {0, "\x06\x0E\x2B\x34\x02\x05\x01\x01"sv, OtherVideo, "MXF"},
    {0, ".RMF\0\0"sv, OtherVideo, "RealMedia"},
    {0, "\x1F\x07\x00"sv, OtherVideo, "DV"},
    {0, "nut/multimedia container\0"sv, OtherVideo, "NUT"},
    {0, "\xB7\xD8\x00\x20\x37\x49\xDA\x11"sv, OtherVideo, "WTV"},
    {0, "fLaC"sv, Sound, "FLAC"},
    {0, "ID3"sv, Sound, "MP3"},
    {0, "#!AMR"sv, Sound, "AMR"},
    {0, "MThd"sv, Sound, "MIDI"},
    {0, "wvpk"sv, Sound, "WavPack"},
    {0, "MAC "sv, Sound, "Monkey's Audio"},
    {0, ".snd"sv, Sound, "AU"},
    {0, "caff"sv, Sound, "CAF"},
    // Containers of containers: what is in them stands in the third word.
    {8, "WEBP"sv, WebP, "WebP", isRiff},
    {8, "AVI "sv, Avi, "AVI", isRiff},
    {8, "AVIX"sv, Avi, "AVI", isRiff},
    {8, "WAVE"sv, Sound, "WAVE", isRiff},
    {8, "AIFF"sv, Sound, "AIFF", isIff},
    {8, "AIFC"sv, Sound, "AIFF", isIff},
    {8, "ILBM"sv, OtherImage, "ILBM", isIff},
    // Without a telling magic: the likelier the accident, the later it comes.
    {0, ""sv, RawStream, "H.264 without a container", isH264},
    {0, ""sv, RawStream, "HEVC without a container", isHevc},
    {0, "BM"sv, Bmp, "BMP", isBmp},
    {0, ""sv, TransportStream, "MPEG transport stream", isTransportStream},
    {0, ""sv, ProgramStream, "MPEG program stream", isProgramStream},
    {0, "P"sv, Pnm, "PNM", isPnm},
    {0, ""sv, Targa, "Targa", isTarga},
    {0, ""sv, Sound, "MPEG sound", isMpegSound},
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
