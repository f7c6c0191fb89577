#pragma once

#include <QSharedPointer>
#include <QVariantList>
#include <QVariantMap>

#include "compressor/ICompressTask.h"

/// Makes compression tasks. Obtained from CompressorEntry(); all operations may be called from any thread.
class ICompressor
{
public:
    virtual ~ICompressor() = default;

    /// The video containers that the module supports, as eight strings: suffixes in lower case, without a
    /// dot.
    virtual QVariantList supportedVideoFormats() const = 0;

    /// A new, idle task for one job.
    ///
    /// The suffix of "outputPath" chooses the encoder: jpg and jpeg, png, webp; every other suffix, none
    /// included, is a video. The keys of the map, all texts but for one:
    ///
    ///  - "inputPath": the source file. It is only read; no task ever changes or removes it, unless it is
    ///    also the output path of a JPEG or PNG job, which then replaces it whole.
    ///  - "outputPath": the result. Absolute paths are best: a relative one counts from the working folder.
    ///  - "quality": images: the encoder's quality, 0 to 100 (PNG: the upper end of the range aimed at).
    ///    Video: the constant rate factor, 0 (best) to 51, or with "isPercentage" the wanted size in percent
    ///    of the source's, 1 to 100. It reaches the encoder as it is.
    ///  - "isPercentage" (bool, video): aim at a size instead of a quality.
    ///  - "scale" (video): "1", "2" or "4" divides the picture's sides; they become multiples of 4.
    ///  - "preset" (video): accepted and kept; no command depends on it.
    ///
    /// Returns null when "outputPath" is missing or empty; nothing else is checked here. The host owns the
    /// task; it belongs to the calling thread, which must run a Qt event loop.
    virtual QSharedPointer<ICompressTask> createTask(const QVariantMap& params) = 0;
};
