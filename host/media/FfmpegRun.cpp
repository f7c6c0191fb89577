#include "host/media/FfmpegRun.h"

#include <QCoreApplication>

#include "process/ProcessTie.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLogBytes = 1 << 20;

} // namespace

FfmpegRun::FfmpegRun()
{
    connect(&mProcess, &QProcess::readyReadStandardOutput, this, &FfmpegRun::readProgress);
    connect(&mProcess, &QProcess::readyReadStandardError, this, &FfmpegRun::readLog);
    connect(&mProcess, &QProcess::finished, this, [this](int code, QProcess::ExitStatus status) {
        onFinished(status == QProcess::NormalExit && code == 0);
    });
    // A failed start is told from inside start().
    connect(
        &mProcess, &QProcess::errorOccurred, this,
        [this](QProcess::ProcessError error) {
            if (error == QProcess::FailedToStart)
                onFinished(false);
        },
        Qt::QueuedConnection);
}

FfmpegRun::~FfmpegRun()
{
    mProcess.disconnect(this);
    mProcess.kill();
    mProcess.waitForFinished();
    endFeeder();
}

void FfmpegRun::start(const QStringList& arguments, const QString& standardInput, const QString& folder)
{
    mProcess.setStandardInputFile(standardInput.isEmpty() ? QProcess::nullDevice() : standardInput);
    mProcess.setWorkingDirectory(folder);
    mLog.clear();
    launch(mProcess, arguments);
}

void FfmpegRun::startFed(const QStringList& feederArguments, const QStringList& arguments,
                         const QString& folder)
{
    mFeeder = std::make_unique<QProcess>();
    mFeeder->setStandardInputFile(QProcess::nullDevice());
    mFeeder->setStandardErrorFile(QProcess::nullDevice());
    mFeeder->setStandardOutputProcess(&mProcess);
    mProcess.setWorkingDirectory(folder);
    mLog.clear();
    launch(*mFeeder, feederArguments);
    launch(mProcess, arguments);
}

void FfmpegRun::launch(QProcess& process, const QStringList& arguments)
{
    Platform::tieToHost(process);
    QStringList all{u"-hide_banner"_s, u"-nostats"_s, u"-nostdin"_s};
    all += arguments;
    process.start(QCoreApplication::applicationDirPath() + u"/ffmpeg"_s, all);
}

// Nothing listens to it any more.
void FfmpegRun::endFeeder()
{
    if (!mFeeder)
        return;
    mFeeder->kill();
    mFeeder->waitForFinished();
    mFeeder.reset();
}

void FfmpegRun::readProgress()
{
    static const QByteArray kKey = "out_time_us=";
    while (mProcess.canReadLine()) {
        const QByteArray line = mProcess.readLine().trimmed();
        if (line.startsWith(kKey))
            emit progressed(line.mid(kKey.size()).toLongLong() / 1000);
    }
}

void FfmpegRun::readLog()
{
    mLog += mProcess.readAllStandardError();
    if (mLog.size() > kLogBytes)
        mLog.remove(0, mLog.size() - kLogBytes);
}

void FfmpegRun::onFinished(bool isSuccess)
{
    endFeeder();
    readLog();
    emit ended(isSuccess, mLog);
}
