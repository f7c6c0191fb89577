#include "host/Job.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTimer>

#include <chrono>

#include "host/FailureText.h"
#include "host/Format.h"
#include "host/Platform.h"

namespace {

// A stopped encoder is normally gone at once; one that hangs in the system's hands must not hang the user.
constexpr std::chrono::seconds kStopTimeout(5);

} // namespace

Job::Job(ICompressor& compressor, const Options& options) : mCompressor(compressor), mOptions(options) {}

void Job::start()
{
    mStopping = Platform::interrupt() != 0;
    if (mStopping)
        return end(kJobFailed, {});
    const QString outputPath = prepareOutput();
    if (outputPath.isEmpty())
        return;
    mTask = mCompressor.createTask(parameters(outputPath));
    // The library exports no meta-object, so by name. Progress may come from a thread of the module's.
    connect(mTask.data(), SIGNAL(compressProcess(float)), this, SIGNAL(progressed(float)));
    connect(mTask.data(), SIGNAL(compressFinished(int, QString)), this,
            SLOT(onCompressFinished(int, QString)));
    mIsTaskRunning = true;
    if (!launch(*mTask)) {
        end(kEncoderMissing,
            QStringLiteral("the encoder %1 is missing in %2: run scripts/setup, then build again")
                .arg(QLatin1String(formatOf(mOptions.outputPath).encoder),
                     QCoreApplication::applicationDirPath()));
    } else if (Platform::interrupt()) {
        // It came while the module was looking at the source.
        stop();
    }
}

void Job::stop()
{
    if (mStopping || mEnded)
        return;
    mStopping = true;
    if (!mIsTaskRunning)
        return end(kJobFailed, {});
    QTimer::singleShot(kStopTimeout, this, [this] { end(kJobFailed, {}); });
    mTask->stop();
}

void Job::end(ExitStatus status, const QString& text)
{
    if (mEnded)
        return;
    mEnded = true;
    // Whoever waits for the end may let the job go.
    const JobResult result{status, mStopping, mStopping ? QString() : text};
    mTask.clear();
    emit ended(result);
}

void Job::onCompressFinished(int code, const QString& description)
{
    mIsTaskRunning = false;
    // An encoder on the same terminal has got the same Ctrl-C, and may have ended first, in whatever way.
    mStopping = mStopping || Platform::interrupt() != 0;
    if (mStopping)
        end(kJobFailed, {});
    else if (code == 0)
        conclude();
    else
        fail(failureText(formatOf(mOptions.outputPath), mOptions.inputPath, code, description) +
             roomHint({QDir::tempPath(), QFileInfo(mOptions.outputPath).absolutePath()},
                      QFileInfo(mOptions.inputPath).size()));
}

QVariantMap Job::parameters(const QString& outputPath) const
{
    return {
        {QStringLiteral("inputPath"), QFileInfo(mOptions.inputPath).absoluteFilePath()},
        {QStringLiteral("outputPath"), outputPath},
        {QStringLiteral("quality"), mOptions.quality},
        {QStringLiteral("isPercentage"), mOptions.isPercentage},
        {QStringLiteral("scale"), mOptions.scale},
    };
}
