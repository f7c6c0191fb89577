#pragma once

#include "host/media/FileWindow.h"
#include "host/media/SourceFacts.h"

/// What the first bytes of a file make it, and in a few cases some more of them.
struct Signature
{
    MediaFormat format = MediaFormat::None;
    MediaKind kind = MediaKind::Unknown;
    const char* name = "";
};

/// Reads less than 100 KiB, whatever the file's size.
Signature recognise(FileWindow& file);
