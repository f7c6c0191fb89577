#pragma once

#include "host/media/FileWindow.h"
#include "host/media/MediaFacts.h"

/// Sets format and name by the file's first bytes, and in a few cases some more of them. Reads less than
/// 100 KiB, whatever the file's size.
void recognise(FileWindow& file, MediaFacts& facts);

// Each takes a file that begins as its format does, sets what an image's header tells, and returns the
// damage.
QString readJpeg(FileWindow& file, MediaFacts& facts);
QString readPng(FileWindow& file, MediaFacts& facts);
QString readWebp(FileWindow& file, MediaFacts& facts);
QString readGif(FileWindow& file, MediaFacts& facts);
QString readBmp(FileWindow& file, MediaFacts& facts);
QString readTiff(FileWindow& file, MediaFacts& facts);
// Of videos they follow the outermost boxes alone. The containers that are missing here state no size.
QString readMp4(FileWindow& file, MediaFacts& facts);
QString readMatroska(FileWindow& file, MediaFacts& facts);
QString readAvi(FileWindow& file, MediaFacts& facts);
QString readAsf(FileWindow& file, MediaFacts& facts);

/// How EXIF begins in JPEG, and where some other writers think that it has to.
inline constexpr QByteArrayView kExifHeader("Exif\0\0", 6);
/// The orientation that EXIF at `offset` states, with or without that header; 1 when it states none.
int exifOrientation(FileWindow& file, qint64 offset);
