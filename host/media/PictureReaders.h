#pragma once

#include <QString>

#include "host/media/FileWindow.h"
#include "host/media/PictureFacts.h"

/// What the readers of single formats find out. `damage` as in SourceFacts.
struct PictureReading
{
    PictureFacts facts;
    QString damage;
};

// Each takes a file that begins as its format does.
PictureReading readJpeg(FileWindow& file);
PictureReading readPng(FileWindow& file);
PictureReading readWebp(FileWindow& file);
PictureReading readGif(FileWindow& file);
PictureReading readBmp(FileWindow& file);
PictureReading readTiff(FileWindow& file);

/// The orientation that EXIF at `offset` states; 1 when it states none.
int exifOrientation(FileWindow& file, qint64 offset);
