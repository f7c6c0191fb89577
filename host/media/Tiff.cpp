#include "host/media/Readers.h"

using namespace Qt::StringLiterals;

namespace {

enum Tag
{
    kWidth = 256,
    kHeight = 257,
    kBitsPerSample = 258,
    kStripOffsets = 273,
    kOrientation = 274,
    kStripBytes = 279,
    kTileOffsets = 324,
    kTileBytes = 325,
    kExtraSamples = 338,
    kIccProfile = 34675
};

constexpr int kShort = 3;
constexpr quint64 kMostFields = 512;
constexpr quint64 kMostStrips = 100'000;

// The numbers of one TIFF structure, whose first bytes say which end comes first.
class Tiff
{
public:
    struct Field
    {
        quint64 count = 0;
        qint64 place = 0;
        int width = 2;
    };

    Tiff(FileWindow& file, qint64 start) : mFile(file), mStart(start), mIsBig(file.has(start, "MM")) {}

    quint64 number(qint64 offset, int width) { return mFile.number(mStart + offset, width, mIsBig); }
    quint64 value(const Field& field, quint64 index = 0)
    {
        return number(field.place + qint64(index) * field.width, field.width);
    }

    // Calls `take` with the tag of each field in the first directory. Returns where that ends.
    template <typename Take>
    qint64 forEachField(Take take)
    {
        const qint64 directory = qint64(number(4, 4));
        const quint64 count = number(2, 2) == 42 ? qMin(number(directory, 2), kMostFields) : 0;
        qint64 entry = directory + 2;
        for (quint64 i = 0; i < count; ++i, entry += 12) {
            Field field{number(entry + 4, 4), entry + 8, number(entry + 2, 2) == kShort ? 2 : 4};
            // Values that need more than four bytes lie elsewhere.
            if (field.count * quint64(field.width) > 4)
                field.place = qint64(number(field.place, 4));
            take(int(number(entry, 2)), field);
        }
        return entry;
    }

private:
    FileWindow& mFile;
    qint64 mStart;
    bool mIsBig;
};

void readField(Tiff& tiff, int tag, const Tiff::Field& field, MediaFacts& facts)
{
    const int value = int(tiff.value(field));
    if (tag == kWidth)
        facts.size.setWidth(value);
    else if (tag == kHeight)
        facts.size.setHeight(value);
    else if (tag == kBitsPerSample)
        facts.bitsPerSample = qMax(8, value);
    else if (tag == kOrientation && value >= 1 && value <= 8)
        facts.orientation = value;
    else if (tag == kExtraSamples)
        facts.hasAlpha = value != 0;
    else if (tag == kIccProfile)
        facts.hasIccProfile = true;
}

} // namespace

int exifOrientation(FileWindow& file, qint64 offset)
{
    MediaFacts facts;
    Tiff tiff(file, offset + (file.has(offset, kExifHeader) ? kExifHeader.size() : 0));
    tiff.forEachField([&](int tag, const Tiff::Field& field) { readField(tiff, tag, field, facts); });
    return facts.orientation;
}

QString readTiff(FileWindow& file, MediaFacts& facts)
{
    Tiff tiff(file, 0);
    Tiff::Field offsets;
    Tiff::Field lengths;
    qint64 end = tiff.forEachField([&](int tag, const Tiff::Field& field) {
        readField(tiff, tag, field, facts);
        if (tag == kStripOffsets || tag == kTileOffsets)
            offsets = field;
        else if (tag == kStripBytes || tag == kTileBytes)
            lengths = field;
    });
    for (const Tiff::Field& field : {offsets, lengths})
        end = qMax(end, field.place + qint64(field.count) * field.width);
    quint64 begin = 0;
    quint64 last = 0;
    for (quint64 i = 0; i < qMin(offsets.count, kMostStrips); ++i) {
        if (const quint64 offset = tiff.value(offsets, i); offset >= begin) {
            begin = offset;
            last = i;
        }
    }
    end = qMax(end, qint64(begin + tiff.value(lengths, last)));
    return end > file.size() ? u"the image ends before its last strip"_s : QString();
}
