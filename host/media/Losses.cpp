#include "host/media/Losses.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

template <typename Predicate>
int countStreams(const VideoFacts& facts, Predicate matches)
{
    return int(std::count_if(facts.streams.begin(), facts.streams.end(), matches));
}

int mostChannels(const VideoFacts& facts)
{
    int most = 0;
    for (const StreamFacts& stream : facts.streams)
        most = std::max(most, stream.channels);
    return most;
}

bool swapsSides(int orientation)
{
    return orientation >= 5;
}

} // namespace

Obstacle obstacleFor(const SourceFacts& source, const Format& output)
{
    if (!output.reads.empty() && std::ranges::find(output.reads, source.format) == output.reads.end())
        return {Obstacle::Unsupported, QLatin1String(output.readsText)};
    // ffmpeg's WebP decoder knows no animation.
    if (source.format == MediaFormat::WebP && source.image.isAnimated)
        return {Obstacle::Unsupported, u"ffmpeg does not read animated WebP"_s};
    if (source.image.isAnimated && !output.keepsAnimation)
        return {Obstacle::FirstFrame, u"the image is animated, and only its first frame would survive"_s};
    return {};
}

bool isTurnedUpright(const SourceFacts& source, const SourceFacts& result)
{
    const QSize from = source.image.size;
    const QSize to = result.image.size;
    // The sides tell, but not of a square and not of an image upside down. Then the formats do: ffmpeg turns
    // JPEG, and no encoder turns anything else or into anything else.
    if (swapsSides(source.image.orientation) && from.width() != from.height() && !from.isEmpty() &&
        !to.isEmpty())
        return to == from.transposed();
    return source.image.orientation > 1 && source.format == MediaFormat::Jpeg &&
           result.format != MediaFormat::Jpeg;
}

QList<Loss> imageLosses(const SourceFacts& source, const SourceFacts& result)
{
    const ImageFacts& before = source.image;
    const ImageFacts& after = result.image;
    QList<Loss> losses;
    const auto lose = [&losses](const char* id, const QString& text) {
        losses.append({QLatin1String(id), text});
    };

    if (before.isAnimated && !after.isAnimated && result.kind == MediaKind::Image)
        lose("animation", u"only the first frame of the animation is left"_s);
    // A PNG that is marked so has had its colours converted.
    if (before.hasIccProfile && !after.hasIccProfile && !after.isMarkedSrgb)
        lose("icc-profile", u"the colour profile is lost, colours may look different"_s);
    if (before.hasAlpha && !after.hasAlpha)
        lose("alpha", u"the transparency is lost"_s);
    if (before.orientation != 1 && after.orientation == 1 && !isTurnedUpright(source, result))
        lose("orientation", u"the note that turns the image upright is lost"_s);
    if (before.bitsPerSample > 8 && after.bitsPerSample <= 8)
        lose("bit-depth", u"%1 bits a colour become 8"_s.arg(before.bitsPerSample));
    return losses;
}

QList<Loss> videoLosses(const VideoFacts& source, const VideoFacts& result)
{
    const StreamFacts* const before = source.videoStream();
    const StreamFacts* const after = result.videoStream();
    QList<Loss> losses;
    const auto lose = [&losses](const char* id, const QString& text) {
        losses.append({QLatin1String(id), text});
    };

    if (before && after) {
        if (before->isHdr && !after->isHdr)
            lose("hdr", u"the high dynamic range is lost, colours may look pale"_s);
        if (before->bits > 8 && after->bits <= 8)
            lose("bit-depth", u"%1 bits a colour become 8"_s.arg(before->bits));
        if (before->hasAlpha && !after->hasAlpha)
            lose("alpha", u"the transparency is lost"_s);
    }
    const int channels = mostChannels(source);
    if (channels > 2 && mostChannels(result) <= 2)
        lose("audio-channels", u"%1 sound channels become two"_s.arg(channels));

    static const struct
    {
        const char* id;
        const char* text;
        bool (*matches)(const StreamFacts&);
    } kKinds[] = {
        {"audio-tracks", "sound tracks are lost: %1 of %2 are left",
         [](const StreamFacts& stream) { return stream.type == StreamFacts::Audio; }},
        {"subtitles", "subtitles are lost: %1 of %2 are left",
         [](const StreamFacts& stream) { return stream.type == StreamFacts::Subtitle; }},
        {"cover", "cover images are lost: %1 of %2 are left",
         [](const StreamFacts& stream) { return stream.isAttachedPicture; }},
    };
    for (const auto& kind : kKinds) {
        const int had = countStreams(source, kind.matches);
        const int has = countStreams(result, kind.matches);
        if (has < had)
            lose(kind.id, QString::fromLatin1(kind.text).arg(has).arg(had));
    }
    return losses;
}
