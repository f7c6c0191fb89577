#pragma once

#include <QString>

/// The sources of the trials, made on the spot. Each returns what went wrong, or an empty text.

/// By nothing but this program.
QString makePngSource(const QString& path);

/// By the JPEG encoder at `encoder`, from an image in a format that every cjpeg reads, which is made at `plain`.
QString makeJpegSource(const QString& path, const QString& encoder, const QString& plain);

/// By the ffmpeg at `encoder`, with coders that every build of it has: half a second of image and sound.
QString makeVideoSource(const QString& path, const QString& encoder);
