#include "host/search/SamplePlan.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kLongVideoMs = 120000;
constexpr qint64 kSamples = 5;

} // namespace

// One in the middle of each fifth: titles and credits, which say little of a video, fill no sample.
QList<qint64> sampleBeginnings(qint64 videoMs)
{
    QList<qint64> beginnings;
    if (videoMs <= kLongVideoMs)
        return beginnings;
    for (qint64 i = 0; i < kSamples; ++i)
        beginnings.append(videoMs * (2 * i + 1) / (2 * kSamples) - kSampleMs / 2);
    return beginnings;
}

// A copy that begins at a key frame goes on to the asked place and the length from there: what is too long is
// cut off by a second one, which it feeds. "V" leaves covers out.
ToolCall sampleCut(const QString& videoPath, qint64 beginMs, const QString& piecePath)
{
    const QStringList copy{u"-map"_s, u"0:V:0"_s, u"-map"_s, u"0:a:0?"_s,
                           u"-c"_s,   u"copy"_s,  u"-t"_s,   QString::number(kSampleMs / 1000)};
    // Before the input, so that ffmpeg seeks instead of reading up to there.
    const QStringList place{u"-ss"_s, QString::number(double(beginMs) / 1000, 'f', 3)};
    ToolCall call = ToolCall::ffmpeg(ToolCall::input(u"pipe:0"_s) + copy +
                                     QStringList{u"-n"_s, ToolCall::fileAddress(piecePath)});
    call.feeder = ToolCall::ffmpeg(place + ToolCall::input(ToolCall::fileAddress(videoPath)) + copy +
                                   QStringList{u"-f"_s, u"matroska"_s, u"pipe:1"_s})
                      .arguments;
    return call;
}
