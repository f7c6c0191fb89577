#include "host/search/MetricProbe.h"

#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// Metrics look at blocks of 8 by 8, in the colour planes too, which have half the sides.
constexpr int kLeastSide = 16;

// The containers that have images repeated and dropped.
bool hasConstantRate(const QString& suffix)
{
    return QStringList{u"mp4"_s, u"mov"_s, u"m4v"_s, u"f4v"_s}.contains(suffix);
}

} // namespace

MetricProbe::MetricProbe(const Metric& metric, const QString& resultPath, const QString& sourcePath,
                         bool isVideo)
    : mMetric(metric), mResultPath(resultPath), mSourcePath(sourcePath),
      mSuffix(QFileInfo(resultPath).suffix().toLower()), mIsVideo(isVideo)
{
    connect(&mRun, &ToolRun::ended, this, [this](const ToolResult& result) { (this->*mAnswer)(result); });
    run(videoProbe(mResultPath, !mIsVideo), &MetricProbe::onResultProbed);
}

void MetricProbe::run(const ToolCall& call, Answer answer)
{
    mAnswer = answer;
    mRun.start(call);
}

void MetricProbe::onResultProbed(const ToolResult& answer)
{
    mResult = videoFactsIn(answer);
    const StreamFacts* const video = mResult.videoStream();
    if (!video || video->size.isEmpty())
        emit ended(-1.0);
    else if (mIsVideo)
        compareVideos(hasConstantRate(mSuffix));
    else
        run(videoProbe(mSourcePath, true), &MetricProbe::onSourceProbed);
}

void MetricProbe::onSourceProbed(const ToolResult& answer)
{
    const VideoFacts source = videoFactsIn(answer);
    const StreamFacts* const image = source.videoStream();
    if (!image)
        return emit ended(-1.0);
    // What an encoder drops, transparency, is no difference; what it keeps shows on a ground.
    compareImages(image->hasAlpha && mResult.videoStream()->hasAlpha);
}

void MetricProbe::compareImages(bool hasAlpha)
{
    QSize size = mResult.videoStream()->size;
    size *= std::max((kLeastSide - 1) / std::min(size.width(), size.height()) + 1, 1);
    const QString onGrey = u"format=yuva420p[%1a];color=gray:s=%2x%3:r=1:d=1,format=yuv420p[%1g];"
                           "[%1g][%1a]overlay=format=yuv420,"_s;
    const QString frame = u"[%1:V:0]trim=end_frame=1,setpts=0,scale=%2:%3:flags=bicubic+accurate_rnd,"
                          "%4format=yuv420p[i%1];"_s;
    QString graph;
    for (const QString& input : {u"0"_s, u"1"_s}) {
        const QString width = QString::number(size.width());
        const QString height = QString::number(size.height());
        graph += frame.arg(input, width, height, hasAlpha ? onGrey.arg(input, width, height) : QString());
    }
    // The source comes in by no name at all. The encoders of JPEG and PNG take images as they are stored;
    // ffmpeg turns what it encodes.
    const QStringList turning = mSuffix == "webp"_L1 ? QStringList() : QStringList{u"-noautorotate"_s};
    compare(turning + ToolCall::input(u"pipe:0"_s), graph + u"[i0][i1]"_s + QLatin1String(mMetric.filter));
}

// Neither times nor numbers pair the images of two videos: containers with a constant rate have images
// repeated and dropped, and a sound's delay shifts them. So the source goes through the encode's own steps,
// up to the encoder, and then has the result's images, number by number.
void MetricProbe::compareVideos(bool isConstantRate)
{
    const QSize size = mResult.videoStream()->size;
    const QString scale = u"scale=%1:%2,format=yuv420p"_s.arg(size.width()).arg(size.height());
    compare(ToolCall::input(u"pipe:0"_s),
            u"[0:V:0]%1,settb=1/25,setpts=N[r];[1:v:0]settb=1/25,setpts=N[s];[r][s]%2:shortest=1"_s.arg(
                scale, QLatin1String(mMetric.filter)),
            ToolCall::input(ToolCall::fileAddress(mSourcePath)) +
                QStringList{u"-map"_s, u"0:V:0"_s, u"-vf"_s, scale, u"-fps_mode"_s,
                            isConstantRate ? u"cfr"_s : u"vfr"_s, u"-c:v"_s, u"rawvideo"_s, u"-f"_s, u"nut"_s,
                            u"pipe:1"_s});
}

// The result comes by its name in its own folder: whatever the folder's name holds can then be taken for no
// pattern. An input's options stand before it.
void MetricProbe::compare(const QStringList& source, const QString& graph, const QStringList& feeder)
{
    const QFileInfo result(mResultPath);
    const QStringList options = source.first(source.size() - 2);
    ToolCall call =
        ToolCall::ffmpeg(options + ToolCall::input(ToolCall::fileAddress(result.fileName())) + source +
                             QStringList{u"-filter_complex"_s, graph, u"-an"_s, u"-f"_s, u"null"_s, u"-"_s},
                         feeder.isEmpty() ? mSourcePath : QString());
    if (!feeder.isEmpty())
        call.feeder = ToolCall::ffmpeg(feeder).arguments;
    call.folder = result.path();
    call.takeLine = [this](const QByteArray& line) { takeLine(line); };
    mSum = 0;
    mImages = 0;
    run(call, &MetricProbe::onCompared);
}

void MetricProbe::takeLine(const QByteArray& line)
{
    const qsizetype begin = line.indexOf(mMetric.field);
    if (begin < 0)
        return;
    mSum += line.sliced(begin + qsizetype(qstrlen(mMetric.field))).split(' ').first().trimmed().toDouble();
    ++mImages;
    const double images = double(mResult.lengthMs) * mResult.videoStream()->frameRate / 1000;
    if (mIsVideo && images > 0)
        emit progressed(float(std::min(double(mImages) / images, 1.0)));
}

void MetricProbe::onCompared(const ToolResult& compared)
{
    const double value = compared.isSuccess() && mImages > 0 ? mSum / double(mImages) : -1.0;
    // Images paired wrongly are hardly alike. Which containers have a constant rate differs between
    // versions of ffmpeg: the better of both ways is the right one.
    if (mIsVideo && !mIsSecond && value >= 0 && value < mMetric.doubtful) {
        mIsSecond = true;
        mValue = value;
        compareVideos(!hasConstantRate(mSuffix));
    } else {
        emit ended(std::max(mValue, value));
    }
}
