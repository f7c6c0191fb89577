#include "host/media/Losses.h"

#include <algorithm>

using namespace Qt::StringLiterals;

Failure unfitFor(const MediaFacts& source, const Format& output, bool firstFrame)
{
    const auto unsupported = [&source](const QString& reason) {
        return Failure{FailureKind::UnsupportedKind, source.name + reason};
    };
    if (source.kind == MediaKind::Sound)
        return {FailureKind::NotMedia, u": it holds sound only"_s};
    if (source.kind == MediaKind::Unknown)
        return {FailureKind::NotMedia, QString()};
    if (output.isVideo() && source.kind == MediaKind::Image && !source.isAnimated)
        return unsupported(u", which is an image and not a video"_s);
    if (!output.isVideo() && source.kind == MediaKind::Video)
        return unsupported(u", which is a video and not an image"_s);
    if (!output.reads.empty() && std::ranges::find(output.reads, source.format) == output.reads.end())
        return unsupported(u"; "_s + QLatin1String(output.readsText));
    // ffmpeg's WebP decoder knows no animation.
    if (source.format == MediaFormat::WebP && source.isAnimated)
        return unsupported(u"; ffmpeg does not read animated WebP"_s);
    if (source.isAnimated && !output.keepsAnimation && !firstFrame)
        return {FailureKind::Animated, QString()};
    return {};
}

bool isTurnedUpright(const MediaFacts& source, const MediaFacts& result)
{
    const QSize from = source.size;
    const QSize to = result.size;
    // The sides tell, but not of a square and not of an image upside down. Then the formats do: ffmpeg turns
    // JPEG, and no encoder turns anything else or into anything else.
    const bool swapsSides = source.orientation >= 5;
    if (swapsSides && from.width() != from.height() && !from.isEmpty() && !to.isEmpty())
        return to == from.transposed();
    return source.orientation > 1 && source.format == MediaFormat::Jpeg && result.format != MediaFormat::Jpeg;
}

QList<Warning> imageLosses(const MediaFacts& source, const MediaFacts& result)
{
    QList<Warning> losses;
    for (const ImageLoss& loss : kImageLosses) {
        if (loss.isLost(source, result))
            losses.append({QLatin1String(loss.id), QString::fromLatin1(loss.text).replace(
                                                       "%1"_L1, QString::number(source.bitsPerSample))});
    }
    return losses;
}
