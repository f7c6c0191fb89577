#include "host/media/MetadataModule.h"

#include <exiv2/exiv2.hpp>

#include <memory>
#include <utility>

namespace {

struct Metadata
{
    Exiv2::ExifData exif;
    Exiv2::XmpData xmp;
    Exiv2::IptcData iptc;
    QByteArray iccProfile;

    bool isEmpty() const { return exif.empty() && xmp.empty() && iptc.empty() && iccProfile.isEmpty(); }
};

const Exiv2::byte* bytesOf(const QByteArray& bytes)
{
    return reinterpret_cast<const Exiv2::byte*>(bytes.constData());
}

// What 0.28 of exiv2 names and owns in another way than 0.27.
#if EXIV2_TEST_VERSION(0, 28, 0)
QByteArray bytesFrom(const Exiv2::DataBuf& buffer)
{
    return QByteArray(reinterpret_cast<const char*>(buffer.c_data()), qsizetype(buffer.size()));
}

QByteArray profileOf(const Exiv2::Image& image)
{
    return bytesFrom(image.iccProfile());
}

void setProfile(Exiv2::Image& image, Exiv2::DataBuf profile)
{
    image.setIccProfile(std::move(profile));
}
#else
QByteArray bytesFrom(const Exiv2::DataBuf& buffer)
{
    return QByteArray(reinterpret_cast<const char*>(buffer.pData_), buffer.size_);
}

QByteArray profileOf(Exiv2::Image& image)
{
    return bytesFrom(*image.iccProfile());
}

void setProfile(Exiv2::Image& image, Exiv2::DataBuf profile)
{
    image.setIccProfile(profile);
}
#endif

// In memory: exiv2 then has no file that it could write to.
std::unique_ptr<Exiv2::Image> openImage(const QByteArray& bytes)
{
    std::unique_ptr<Exiv2::Image> image(
        Exiv2::ImageFactory::open(bytesOf(bytes), long(bytes.size())).release());
    image->readMetadata();
    return image;
}

Metadata metadataOf(const QByteArray& bytes)
{
    const auto image = openImage(bytes);
    return {image->exifData(), image->xmpData(), image->iptcData(), profileOf(*image)};
}

// What was true of the source's pixels and is not of the result's.
void adapt(Metadata& metadata, const MetadataCopy& copy)
{
    if (!metadata.exif.empty())
        Exiv2::ExifThumb(metadata.exif).erase();
    if (copy.isTurnedUpright) {
        const Exiv2::ExifKey exifKey("Exif.Image.Orientation");
        const Exiv2::XmpKey xmpKey("Xmp.tiff.Orientation");
        if (metadata.exif.findKey(exifKey) != metadata.exif.end())
            metadata.exif["Exif.Image.Orientation"] = uint16_t(1);
        if (metadata.xmp.findKey(xmpKey) != metadata.xmp.end())
            metadata.xmp["Xmp.tiff.Orientation"] = "1";
    }
    if (copy.hasConvertedColours)
        metadata.iccProfile.clear();
}

QByteArray encodedExif(Exiv2::ExifData& exif)
{
    if (exif.empty())
        return {};
    Exiv2::Blob blob;
    Exiv2::ExifParser::encode(blob, Exiv2::littleEndian, exif);
    return QByteArray(reinterpret_cast<const char*>(blob.data()), qsizetype(blob.size()));
}

QByteArray written(const Metadata& metadata, const MetadataCopy& copy)
{
    const auto image = openImage(copy.result);
    const bool isJpeg = copy.format == MediaFormat::Jpeg;
    if (!metadata.exif.empty())
        image->setExifData(copy.format == MediaFormat::Png ? Exiv2::ExifData() : metadata.exif);
    if (!metadata.xmp.empty())
        image->setXmpData(metadata.xmp);
    if (!metadata.iptc.empty() && image->checkMode(Exiv2::mdIptc) & Exiv2::amWrite)
        image->setIptcData(metadata.iptc);
    // A profile that exiv2 has read of another format it would write again in its own way.
    if (!isJpeg && image->iccProfileDefined())
        image->clearIccProfile();
    if (isJpeg && !metadata.iccProfile.isEmpty())
        setProfile(*image, Exiv2::DataBuf(bytesOf(metadata.iccProfile), long(metadata.iccProfile.size())));
    image->writeMetadata();

    Exiv2::BasicIo& io = image->io();
    io.open();
    return bytesFrom(io.read(long(io.size())));
}

} // namespace

extern "C" Q_DECL_EXPORT void vxcMergeMetadata(MetadataCopy& copy)
{
    // What it finds odd it would say on the terminal.
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    try {
        Metadata metadata = metadataOf(copy.source);
        adapt(metadata, copy);
        copy.result = metadata.isEmpty() ? QByteArray() : written(metadata, copy);
        if (copy.format != MediaFormat::Jpeg)
            copy.iccProfile = metadata.iccProfile;
        if (copy.format == MediaFormat::Png)
            copy.exif = encodedExif(metadata.exif);
    } catch (const std::exception& error) {
        copy.error = QString::fromUtf8(error.what());
    }
}
