#include "host/media/ImageReaders.h"

namespace {

enum Tag
{
    kWidth = 256,
    kHeight = 257,
    kBitsPerSample = 258,
    kOrientation = 274,
    kExtraSamples = 338,
    kExifFolder = 34665,
    kIccProfile = 34675
};

constexpr int kMostFields = 512;
constexpr int kShort = 3;

// The numbers of one TIFF structure, whose first bytes say which end comes first.
class Tiff
{
public:
    Tiff(FileWindow& file, qint64 start) : mFile(file), mStart(start), mIsBig(file.has(start, "MM")) {}

    quint64 number(qint64 offset, int width)
    {
        return mIsBig ? mFile.big(mStart + offset, width) : mFile.little(mStart + offset, width);
    }

    // Calls `take` with tag, first value and the number of values of each field in the first directory.
    template <typename Take>
    void forEachField(Take take)
    {
        const qint64 directory = qint64(number(4, 4));
        const int count = number(2, 2) == 42 ? qMin(int(number(directory, 2)), kMostFields) : 0;
        for (int i = 0; i < count; ++i) {
            const qint64 field = directory + 2 + qint64(12) * i;
            const int width = number(field + 2, 2) == kShort ? 2 : 4;
            const quint64 values = number(field + 4, 4);
            // Values that need more than four bytes lie elsewhere.
            const qint64 place = values * width > 4 ? qint64(number(field + 8, 4)) : field + 8;
            take(int(number(field, 2)), number(place, width), values);
        }
    }

private:
    FileWindow& mFile;
    qint64 mStart;
    bool mIsBig;
};

bool isOrientation(quint64 value)
{
    return value >= 1 && value <= 8;
}

} // namespace

int exifOrientation(FileWindow& file, qint64 offset)
{
    int orientation = 1;
    Tiff(file, offset).forEachField([&](int tag, quint64 value, quint64) {
        if (tag == kOrientation && isOrientation(value))
            orientation = int(value);
    });
    return orientation;
}

ImageReading readTiff(FileWindow& file)
{
    ImageReading reading;
    ImageFacts& facts = reading.facts;
    Tiff(file, 0).forEachField([&facts](int tag, quint64 value, quint64) {
        switch (tag) {
        case kWidth:
            facts.size.setWidth(int(value));
            break;
        case kHeight:
            facts.size.setHeight(int(value));
            break;
        case kBitsPerSample:
            facts.bitsPerSample = qMax(8, int(value));
            break;
        case kOrientation:
            facts.orientation = isOrientation(value) ? int(value) : 1;
            break;
        case kExtraSamples:
            facts.hasAlpha = value != 0;
            break;
        case kExifFolder:
            facts.hasExif = true;
            break;
        case kIccProfile:
            facts.hasIccProfile = true;
            break;
        default:
            break;
        }
    });
    return reading;
}
