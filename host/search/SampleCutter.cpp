#include "host/search/SampleCutter.h"

#include <utility>

namespace {

QString seconds(qint64 ms)
{
    return QString::number(double(ms) / 1000, 'f', 3);
}

} // namespace

// A copy that begins at a key frame goes on to the place that was asked for and the length from there: what
// is too long is cut off by a second copy.
SampleCutter::SampleCutter()
{
    connect(&mRun, &FfmpegRun::ended, this, [this](bool isSuccess) {
        if (isSuccess && !mHelpPath.isEmpty())
            copy({}, std::exchange(mHelpPath, {}), mLengthMs, mPiecePath);
        else
            emit ended(isSuccess);
    });
}

void SampleCutter::cut(const QString& videoPath, qint64 beginMs, qint64 lengthMs, const QString& helpPath,
                       const QString& piecePath)
{
    mHelpPath = helpPath;
    mPiecePath = piecePath;
    mLengthMs = lengthMs;
    // Before the input, so that ffmpeg seeks instead of reading up to there.
    copy({QStringLiteral("-ss"), seconds(beginMs)}, videoPath, lengthMs, helpPath);
}

void SampleCutter::copy(const QStringList& place, const QString& from, qint64 lengthMs, const QString& to)
{
    QStringList arguments{QStringLiteral("-v"), QStringLiteral("error")};
    arguments += place;
    // "V" leaves covers out.
    arguments << QStringLiteral("-i") << FfmpegRun::pathArgument(from) << QStringLiteral("-map")
              << QStringLiteral("0:V:0") << QStringLiteral("-map") << QStringLiteral("0:a:0?")
              << QStringLiteral("-c") << QStringLiteral("copy") << QStringLiteral("-t") << seconds(lengthMs)
              << QStringLiteral("-n") << FfmpegRun::pathArgument(to);
    mRun.start(arguments);
}
