#include "host/media/LengthVerdict.h"

#include <algorithm>

namespace {

qint64 toleranceMs(qint64 lengthMs)
{
    return std::max<qint64>(500, lengthMs / 100);
}

// 0 where it is not known.
qint64 pictureMs(const FilmFacts& facts)
{
    const FilmStream* const picture = facts.picture();
    return picture ? std::max<qint64>(0, picture->endMs) : 0;
}

bool isShorter(qint64 resultMs, qint64 sourceMs)
{
    return resultMs < sourceMs - toleranceMs(sourceMs);
}

QString seconds(qint64 milliseconds)
{
    return QString::number(double(milliseconds) / 1000, 'f', 1);
}

} // namespace

LengthVerdict lengthVerdict(const FilmFacts& source, const FilmFacts& result)
{
    const QString lengths =
        QStringLiteral("%1 s of %2 s").arg(seconds(result.lengthMs), seconds(source.lengthMs));
    if (source.lengthMs <= 0 || result.lengthMs <= 0) {
        const bool isLost = source.isLengthStated && result.lengthMs <= 0;
        return isLost ? LengthVerdict{LengthVerdict::Cut,
                                      QStringLiteral("nothing of the film's length is there")}
                      : LengthVerdict{};
    }
    const bool longer = isShorter(source.lengthMs, result.lengthMs);
    if (!longer && !isShorter(result.lengthMs, source.lengthMs))
        return {};
    // A sound that went on alone may be one that the result does not take over.
    const qint64 sourcePicture = pictureMs(source);
    const qint64 resultPicture = pictureMs(result);
    const bool isWholePicture =
        sourcePicture > 0 && resultPicture > 0 && !isShorter(resultPicture, sourcePicture);
    // What an estimate missed is no doubt.
    if (longer && !source.isLengthStated)
        return {};
    if (longer)
        return {LengthVerdict::Doubtful,
                QStringLiteral("the result is longer than its source: %1").arg(lengths)};
    if (isWholePicture)
        return {LengthVerdict::Doubtful, QStringLiteral("the sound ends before its source: %1").arg(lengths)};
    if (!source.isLengthStated)
        return {
            LengthVerdict::Doubtful,
            QStringLiteral("the result may be cut: %1, but the source's length is an estimate").arg(lengths)};
    return {LengthVerdict::Cut, QStringLiteral("the film is cut: %1 are there").arg(lengths)};
}
