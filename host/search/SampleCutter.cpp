#include "host/search/SampleCutter.h"

#include <utility>

using namespace Qt::StringLiterals;

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
    connect(&mRun, &ToolRun::ended, this, [this](const ToolResult& result) {
        if (result.isSuccess() && !mHelpPath.isEmpty())
            copy({}, std::exchange(mHelpPath, {}), mLengthMs, mPiecePath);
        else
            emit ended(result.isSuccess());
    });
}

void SampleCutter::cut(const QString& videoPath, qint64 beginMs, qint64 lengthMs, const QString& helpPath,
                       const QString& piecePath)
{
    mHelpPath = helpPath;
    mPiecePath = piecePath;
    mLengthMs = lengthMs;
    // Before the input, so that ffmpeg seeks instead of reading up to there.
    copy({u"-ss"_s, seconds(beginMs)}, videoPath, lengthMs, helpPath);
}

void SampleCutter::copy(const QStringList& place, const QString& from, qint64 lengthMs, const QString& to)
{
    QStringList arguments = place + ToolCall::input(ToolCall::fileAddress(from));
    // "V" leaves covers out.
    arguments << u"-map"_s << u"0:V:0"_s << u"-map"_s << u"0:a:0?"_s << u"-c"_s << u"copy"_s << u"-t"_s
              << seconds(lengthMs) << u"-n"_s << ToolCall::fileAddress(to);
    mRun.start(ToolCall::ffmpeg(arguments));
}
