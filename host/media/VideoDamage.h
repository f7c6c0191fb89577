#pragma once

#include <QString>

#include "host/media/FileWindow.h"
#include "host/media/SourceFacts.h"

/// How a video's container shows that the file is cut, as SourceFacts::damage. Follows the container's
/// outermost boxes only, and knows MP4, Matroska, AVI and ASF; the others state no size.
QString videoDamage(FileWindow& file, MediaFormat format);
