#pragma once

#include <QString>

#include <optional>

/// Whether a file is as long as it says itself: an image or video whose last bytes were not written is not.
/// Nothing of containers that do not say so: MP4 and its kin, Matroska, AVI and WebP do.
std::optional<bool> hasItsEnd(const QString& path);
