#pragma once

#include <QString>

#include "host/media/FileWindow.h"
#include "host/media/ImageFacts.h"

/// What the readers of single formats find out. `damage` as in SourceFacts.
struct ImageReading
{
    ImageFacts facts;
    QString damage;
};

// Each takes a file that begins as its format does.
ImageReading readJpeg(FileWindow& file);
ImageReading readPng(FileWindow& file);
ImageReading readWebp(FileWindow& file);
ImageReading readGif(FileWindow& file);
ImageReading readBmp(FileWindow& file);
ImageReading readTiff(FileWindow& file);

/// The orientation that EXIF at `offset` states; 1 when it states none.
int exifOrientation(FileWindow& file, qint64 offset);
