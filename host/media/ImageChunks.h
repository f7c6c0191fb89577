#pragma once

#include "host/media/MediaFacts.h"

/// A chunk of a PNG, with its length and checksum.
QByteArray pngChunk(const QByteArray& type, const QByteArray& body);

/// Puts metadata into the bytes of an image, where exiv2 writes what other programs cannot read: an iCCP
/// chunk without a name and EXIF as a text into PNG, a broken header in front of an ICC profile into WebP.
///
/// An image whose structure is not as it has to be comes back empty. Chunks of the same kind are replaced.
/// Empty metadata leaves that kind as it is.
QByteArray withPngChunks(const QByteArray& png, const QByteArray& iccProfile, const QByteArray& exif);
QByteArray withWebpProfile(const QByteArray& webp, const QByteArray& iccProfile, const MediaFacts& image);
