#include "host/doctor/TrialRun.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTimer>

#include <chrono>

#include "host/doctor/EncoderProbe.h"
#include "host/doctor/TrialSource.h"
#include "host/module/ModuleRun.h"
#include "host/system/PrivateFolder.h"

using namespace Qt::StringLiterals;

namespace {

using namespace std::chrono_literals;
// Half a second of a video of 128x96 takes a tenth of a second; a loaded machine may need longer.
constexpr auto kTrialTimeout = 30s;

QString pngSource(const QString& path, const QString&, const QString&)
{
    return makePngSource(path);
}

QString videoSource(const QString& path, const QString& encoder, const QString&)
{
    return makeVideoSource(path, encoder);
}

struct TrialRow
{
    const char* encoder;
    const char* kind;
    const char* source; ///< suffixes
    const char* output;
    QString (*makeSource)(const QString& path, const QString& encoder, const QString& plain);
    int quality;
    const char* signature; ///< how a result begins; a blank is any byte
    const char* coder;     ///< what a build of ffmpeg may lack
};

const TrialRow kTrials[] = {
    {"cJpeg", "JPEG", "jpg", "jpg", makeJpegSource, 75, "\xFF\xD8\xFF", ""},
    {"pngquant", "PNG", "png", "png", pngSource, 80, "\x89PNG", ""},
    {"ffmpeg", "WebP", "png", "webp", pngSource, 75, "RIFF    WEBP", " libwebp "},
    {"ffmpeg", "video", "mkv", "mp4", videoSource, 28, "    ftyp", " libx264 "},
};

bool beginsWith(const QString& path, const QByteArray& signature)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QByteArray begin = file.read(signature.size());
    for (qsizetype i = 0; i < begin.size(); ++i) {
        if (signature[i] == ' ')
            begin[i] = ' ';
    }
    return begin == signature;
}

QString lackOf(const QString& ffmpeg, const char* coder)
{
    const ToolAnswer list = runTool(ffmpeg, {u"-hide_banner"_s, u"-encoders"_s});
    const QLatin1StringView name(coder);
    if (name.isEmpty() || list.exitCode != 0 || list.output.contains(name))
        return {};
    return u"; it was built without"_s + name.chopped(1);
}

} // namespace

void TrialRun::examine(EncoderState& encoder)
{
    encoder.fault = EncoderFault::None;
    for (const TrialRow& row : kTrials) {
        if (mStopped || encoder.name != QLatin1StringView(row.encoder))
            continue;
        EncoderTrial trial;
        trial.kind = QString::fromLatin1(row.kind);
        const QString source = mFolder.newPath(QString::fromLatin1(row.source));
        const QString output = mFolder.newPath(QString::fromLatin1(row.output));
        trial.error = row.makeSource(source, encoder.path, mFolder.newPath(u"ppm"_s));
        const bool hasSource = trial.error.isEmpty();
        if (hasSource) {
            QElapsedTimer clock;
            clock.start();
            trial.error = encode(source, output, row.quality);
            trial.elapsedMs = clock.elapsed();
            trial.before = QFileInfo(source).size();
            trial.after = QFileInfo(output).size();
        }
        if (trial.error.isEmpty() && !beginsWith(output, row.signature))
            trial.error = u"the result is no %1"_s.arg(trial.kind);
        if (!trial.error.isEmpty()) {
            // A cjpeg that makes a JPEG of a plain image and none of a JPEG is one that cannot read it.
            encoder.fault = hasSource && encoder.name == "cJpeg"_L1 ? EncoderFault::ReadsNoJpeg
                                                                    : EncoderFault::TrialFailed;
            encoder.detail = trial.kind + ": "_L1 + trial.error + lackOf(encoder.path, row.coder);
        }
        encoder.trials.append(trial);
    }
}

QString TrialRun::encode(const QString& source, const QString& output, int quality)
{
    QString error = u"it did not end within %1 seconds"_s.arg(kTrialTimeout.count());
    EncodeRequest request;
    request.inputPath = source;
    request.outputPath = output;
    request.quality = QString::number(quality);
    ModuleRun run(mTasks, request);
    QObject::connect(&run, &ModuleRun::ended, &mLoop, [&](const Failure& failure) {
        error = failure.kind == FailureKind::EncoderFailed
                    ? u"code %1, %2"_s.arg(failure.code).arg(failure.detail)
                    : failure.detail;
        mLoop.quit();
    });
    QTimer timeout;
    timeout.callOnTimeout(&mLoop, &QEventLoop::quit);
    timeout.start(kTrialTimeout);
    run.start();
    mLoop.exec();
    return error;
}

void TrialRun::stop()
{
    mStopped = true;
    mLoop.quit();
}
