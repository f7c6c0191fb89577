#pragma once

#include <QString>

/// Copies the ICC profile, EXIF, XMP and IPTC of `sourcePath` into `resultPath`, a JPEG, PNG or WebP of the
/// same image, replacing what the result has of each kind that the source has. The orientation becomes that
/// of the result's pixels; EXIF's thumbnail goes.
///
/// The source is only read. The result is replaced in one step by a whole new file, or left as it was.
/// Returns the reason of a failure, for people; empty when all went well, also where there was nothing to
/// copy. Any thread, one copy at a time (others wait); never throws.
QString copyImageMetadata(const QString& sourcePath, const QString& resultPath);
