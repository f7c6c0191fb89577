#pragma once

#include <QByteArray>
#include <QSize>

/// Puts metadata into the bytes of an image, where exiv2 writes what other programs cannot read: an iCCP
/// chunk without a name and EXIF as a text into PNG, a broken header in front of an ICC profile into WebP.
///
/// An image whose structure is not as it has to be comes back empty. Chunks of the same kind are replaced.
/// Empty metadata leaves that kind as it is.
QByteArray withPngChunks(const QByteArray& png, const QByteArray& iccProfile, const QByteArray& exif);
/// `size` and `hasAlpha` are the image's.
QByteArray withWebpProfile(const QByteArray& webp, const QByteArray& iccProfile, QSize size, bool hasAlpha);
