#include "host/search/SsimProbe.h"

#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <tuple>

using namespace Qt::StringLiterals;

namespace {

// The measure looks at blocks of 8 by 8, in the colour planes too, which have half the sides.
constexpr int kLeastSide = 16;

QString sizeText(const QSize& size)
{
    return u"%1:%2"_s.arg(size.width()).arg(size.height());
}

} // namespace

SsimProbe::SsimProbe()
{
    connect(&mRun, &FfmpegRun::progressed, this, [this](qint64 outputMs) {
        if (mDurationMs > 0)
            emit progressed(std::min(float(outputMs) / float(mDurationMs), 1.0F));
    });
    connect(&mRun, &FfmpegRun::ended, this, [this](bool isSuccess, const QByteArray& log) {
        if (mStep == Step::Glance)
            compare(log);
        else
            onCompared(isSuccess ? ssimIn(log) : -1.0);
    });
}

void SsimProbe::start(const QString& resultPath, const QString& sourcePath, Kind kind)
{
    mResultPath = resultPath;
    mSourcePath = sourcePath;
    mKind = kind;
    mSsim = -1.0;
    mStep = Step::Glance;
    // Without an output ffmpeg ends, with an error, once it has described the inputs.
    if (kind == Kind::Image)
        mRun.start(imageInputs(), mSourcePath, QFileInfo(mResultPath).path());
    else
        mRun.start(videoInput() + QStringList{u"-i"_s, FfmpegRun::pathArgument(mSourcePath)}, {},
                   QFileInfo(mResultPath).path());
}

// By its name in its own folder: whatever the folder's name holds can then be taken for no pattern.
QStringList SsimProbe::videoInput() const
{
    return {u"-i"_s, FfmpegRun::pathArgument(QFileInfo(mResultPath).fileName())};
}

// The source comes in by no name at all. The encoders of JPEG and PNG take images as they are stored;
// ffmpeg turns what it encodes.
QStringList SsimProbe::imageInputs() const
{
    QStringList turning;
    if (QFileInfo(mResultPath).suffix().toLower() != "webp"_L1)
        turning << u"-noautorotate"_s;
    return turning + videoInput() + turning + QStringList{u"-i"_s, u"pipe:0"_s};
}

void SsimProbe::compare(const QByteArray& log)
{
    const QList<MediaGlance> inputs = MediaGlance::inputsIn(log);
    if (inputs.size() != 2 || !inputs[0].video() || !inputs[1].video() || inputs[0].video()->size.isEmpty()) {
        emit ended(-1.0);
        return;
    }
    mDurationMs = inputs[0].durationMs;
    mVideoSize = inputs[0].video()->size;
    if (mKind == Kind::Video)
        return compareVideos(true);
    mStep = Step::Last;
    mRun.start(imageInputs() + comparison(imageGraph(*inputs[0].video(), *inputs[1].video())), mSourcePath,
               QFileInfo(mResultPath).path());
}

// Neither times nor numbers pair the images of two videos: containers with a constant rate have images
// repeated and dropped, and a sound's delay shifts them. So the source goes through the encode's own steps,
// up to the encoder, and then has the result's images, number by number.
void SsimProbe::compareVideos(bool asContainerDoes)
{
    static const QStringList kConstantRate{u"mp4"_s, u"mov"_s, u"m4v"_s, u"f4v"_s};
    mStep = asContainerDoes ? Step::First : Step::Last;
    const bool isConstant =
        kConstantRate.contains(QFileInfo(mResultPath).suffix().toLower()) == asContainerDoes;
    const QString scale = u"scale=%1,"_s.arg(sizeText(mVideoSize));
    mRun.startFed({u"-i"_s, FfmpegRun::pathArgument(mSourcePath), u"-map"_s, u"0:V:0"_s, u"-vf"_s,
                   scale + u"format=yuv420p"_s, u"-fps_mode"_s, isConstant ? u"cfr"_s : u"vfr"_s, u"-c:v"_s,
                   u"rawvideo"_s, u"-f"_s, u"nut"_s, u"pipe:1"_s},
                  videoInput() + QStringList{u"-i"_s, u"pipe:0"_s} +
                      comparison(u"[0:V:0]%1format=yuv420p,settb=1/25,setpts=N[r];"
                                 "[1:v:0]settb=1/25,setpts=N[s];[r][s]ssim=shortest=1"_s.arg(scale)),
                  QFileInfo(mResultPath).path());
}

QStringList SsimProbe::comparison(const QString& graph)
{
    return {u"-filter_complex"_s, graph, u"-an"_s, u"-progress"_s, u"pipe:1"_s, u"-f"_s, u"null"_s, u"-"_s};
}

void SsimProbe::onCompared(double ssim)
{
    // Images paired wrongly are hardly alike. Which containers have a constant rate differs between
    // versions of ffmpeg: the better of both ways is the right one.
    constexpr double kDoubtful = 0.9;
    mSsim = mStep == Step::First ? ssim : std::max(mSsim, ssim);
    if (mStep == Step::First && ssim >= 0 && ssim < kDoubtful)
        compareVideos(false);
    else
        emit ended(mSsim);
}

QString SsimProbe::imageGraph(const MediaGlance::Video& image, const MediaGlance::Video& source)
{
    const int factor = std::max((kLeastSide - 1) / std::min(image.size.width(), image.size.height()) + 1, 1);
    const QSize size = image.size * factor;
    // What an encoder drops, transparency, is no difference; what it keeps shows on a ground.
    const bool hasAlpha = image.mayHaveAlpha() && source.mayHaveAlpha();
    QString graph;
    for (const auto& [input, stream, name] :
         {std::tuple(0, image.stream, "r"_L1), std::tuple(1, source.stream, "s"_L1)}) {
        const QString frame =
            u"[%1:%2]trim=end_frame=1,setpts=0,scale=%3:flags=bicubic+accurate_rnd,"_s.arg(input)
                .arg(stream)
                .arg(sizeText(size));
        const QString onGrey = u"format=yuva420p[%1a];color=gray:s=%2x%3:r=1:d=1,format=yuv420p[%1g];"
                               "[%1g][%1a]overlay=format=yuv420,"_s.arg(name)
                                   .arg(size.width())
                                   .arg(size.height());
        graph += frame + (hasAlpha ? onGrey : QString()) + u"format=yuv420p[%1];"_s.arg(name);
    }
    return graph + u"[r][s]ssim"_s;
}

double SsimProbe::ssimIn(const QByteArray& log)
{
    static const QRegularExpression kAll(u" All:([01]\\.\\d+) "_s);
    double ssim = -1.0;
    auto matches = kAll.globalMatch(QString::fromUtf8(log));
    while (matches.hasNext())
        ssim = matches.next().captured(1).toDouble();
    return ssim;
}
