#include "host/search/SsimProbe.h"

#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <tuple>

namespace {

// The measure looks at blocks of 8 by 8, in the colour planes too, which have half the sides.
constexpr int kLeastSide = 16;

QString sizeText(const QSize& size)
{
    return QStringLiteral("%1:%2").arg(size.width()).arg(size.height());
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
        mRun.start(videoInput() + QStringList{QStringLiteral("-i"), FfmpegRun::pathArgument(mSourcePath)}, {},
                   QFileInfo(mResultPath).path());
}

// By its name in its own folder: whatever the folder's name holds can then be taken for no pattern.
QStringList SsimProbe::videoInput() const
{
    return {QStringLiteral("-i"), FfmpegRun::pathArgument(QFileInfo(mResultPath).fileName())};
}

// The source comes in by no name at all. The encoders of JPEG and PNG take images as they are stored;
// ffmpeg turns what it encodes.
QStringList SsimProbe::imageInputs() const
{
    QStringList turning;
    if (QFileInfo(mResultPath).suffix().toLower() != QLatin1String("webp"))
        turning << QStringLiteral("-noautorotate");
    return turning + videoInput() + turning + QStringList{QStringLiteral("-i"), QStringLiteral("pipe:0")};
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
    static const QStringList kConstantRate{QStringLiteral("mp4"), QStringLiteral("mov"),
                                           QStringLiteral("m4v"), QStringLiteral("f4v")};
    mStep = asContainerDoes ? Step::First : Step::Last;
    const bool isConstant =
        kConstantRate.contains(QFileInfo(mResultPath).suffix().toLower()) == asContainerDoes;
    const QString scale = QStringLiteral("scale=%1,").arg(sizeText(mVideoSize));
    mRun.startFed({QStringLiteral("-i"), FfmpegRun::pathArgument(mSourcePath), QStringLiteral("-map"),
                   QStringLiteral("0:V:0"), QStringLiteral("-vf"), scale + QStringLiteral("format=yuv420p"),
                   QStringLiteral("-fps_mode"), isConstant ? QStringLiteral("cfr") : QStringLiteral("vfr"),
                   QStringLiteral("-c:v"), QStringLiteral("rawvideo"), QStringLiteral("-f"),
                   QStringLiteral("nut"), QStringLiteral("pipe:1")},
                  videoInput() + QStringList{QStringLiteral("-i"), QStringLiteral("pipe:0")} +
                      comparison(QStringLiteral("[0:V:0]%1format=yuv420p,settb=1/25,setpts=N[r];"
                                                "[1:v:0]settb=1/25,setpts=N[s];[r][s]ssim=shortest=1")
                                     .arg(scale)),
                  QFileInfo(mResultPath).path());
}

QStringList SsimProbe::comparison(const QString& graph)
{
    return {QStringLiteral("-filter_complex"),
            graph,
            QStringLiteral("-an"),
            QStringLiteral("-progress"),
            QStringLiteral("pipe:1"),
            QStringLiteral("-f"),
            QStringLiteral("null"),
            QStringLiteral("-")};
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
    for (const auto& [input, stream, name] : {std::tuple(0, image.stream, QLatin1String("r")),
                                              std::tuple(1, source.stream, QLatin1String("s"))}) {
        const QString frame =
            QStringLiteral("[%1:%2]trim=end_frame=1,setpts=0,scale=%3:flags=bicubic+accurate_rnd,")
                .arg(input)
                .arg(stream)
                .arg(sizeText(size));
        const QString onGrey =
            QStringLiteral("format=yuva420p[%1a];color=gray:s=%2x%3:r=1:d=1,format=yuv420p[%1g];"
                           "[%1g][%1a]overlay=format=yuv420,")
                .arg(name)
                .arg(size.width())
                .arg(size.height());
        graph += frame + (hasAlpha ? onGrey : QString()) + QStringLiteral("format=yuv420p[%1];").arg(name);
    }
    return graph + QStringLiteral("[r][s]ssim");
}

double SsimProbe::ssimIn(const QByteArray& log)
{
    static const QRegularExpression kAll(QStringLiteral(" All:([01]\\.\\d+) "));
    double ssim = -1.0;
    auto matches = kAll.globalMatch(QString::fromUtf8(log));
    while (matches.hasNext())
        ssim = matches.next().captured(1).toDouble();
    return ssim;
}
