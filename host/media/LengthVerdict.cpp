#include "host/media/LengthVerdict.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// Not positive where it is not known.
qint64 videoStreamMs(const VideoFacts& facts)
{
    const StreamFacts* const stream = facts.videoStream();
    return stream ? stream->endMs : 0;
}

bool isShorter(qint64 resultMs, qint64 sourceMs)
{
    return resultMs < sourceMs - std::max<qint64>(500, sourceMs / 100);
}

QString seconds(qint64 milliseconds)
{
    return QString::number(double(milliseconds) / 1000, 'f', 1);
}

} // namespace

LengthVerdict lengthVerdict(const VideoFacts& source, const VideoFacts& result)
{
    const QString lengths = u"%1 s of %2 s"_s.arg(seconds(result.lengthMs), seconds(source.lengthMs));
    if (source.lengthMs <= 0 || result.lengthMs <= 0) {
        const bool isLost = source.isLengthStated && result.lengthMs <= 0;
        return isLost ? LengthVerdict{LengthVerdict::Cut, u"it has no length"_s} : LengthVerdict{};
    }
    if (isShorter(source.lengthMs, result.lengthMs)) {
        // What an estimate missed is no doubt.
        if (!source.isLengthStated)
            return {};
        return {LengthVerdict::Doubtful, u"the result is longer than its source: %1"_s.arg(lengths)};
    }
    if (!isShorter(result.lengthMs, source.lengthMs))
        return {};
    // A sound that went on alone may be one that the result does not take over.
    const qint64 sourceVideo = videoStreamMs(source);
    const qint64 resultVideo = videoStreamMs(result);
    if (sourceVideo > 0 && resultVideo > 0 && !isShorter(resultVideo, sourceVideo))
        return {LengthVerdict::Doubtful, u"the sound ends before its source: %1"_s.arg(lengths)};
    if (!source.isLengthStated)
        return {LengthVerdict::Doubtful,
                u"the result may be cut: %1, but the source's length is an estimate"_s.arg(lengths)};
    return {LengthVerdict::Cut, u"the video is cut: it has %1"_s.arg(lengths)};
}
