#include "host/Runner.h"

#include <QCoreApplication>
#include <QDir>

#include "host/CompressJob.h"
#include "host/CompressorLibrary.h"
#include "host/Report.h"

namespace {

// What a shell makes of a program that a signal has ended.
constexpr int kInterruptedBase = 128;

} // namespace

Runner::Runner(const Options& options) : mOptions(options) {}

int Runner::exec()
{
    Platform::catchInterrupts(this, [this] { onInterrupt(); });
    QMetaObject::invokeMethod(this, &Runner::startJob, Qt::QueuedConnection);
    const int status = QCoreApplication::exec();
    mJob.reset();
    mTemporaryFolder.reset();
    return status;
}

void Runner::startJob()
{
    // Before the library is loaded: it asks the system for the place when it needs it.
    mTemporaryFolder.emplace(QDir(QDir::tempPath()).absolutePath(), QStringLiteral("vxcompress-"));
    if (!mTemporaryFolder->isValid())
        return onEnded(
            {kJobFailed, false, QStringLiteral("no temporary folder: ") + mTemporaryFolder->errorString()});
    Platform::setTemporaryFolder(mTemporaryFolder->path());

    CompressorLibrary library;
    ICompressor* const compressor = library.load();
    if (!compressor)
        return onEnded({kEncoderMissing, false, library.errorString()});
    mJob = std::make_unique<CompressJob>(*compressor, mOptions);
    connect(mJob.get(), &Job::ended, this, &Runner::onEnded);
    mJob->start();
}

void Runner::onInterrupt()
{
    if (mJob)
        mJob->stop();
}

void Runner::onEnded(const JobResult& result)
{
    if (result.interrupted)
        return QCoreApplication::exit(kInterruptedBase + Platform::interrupt());
    if (result.status != kDelivered)
        printError(result.text);
    else if (!mOptions.quiet)
        printResult(result.text);
    QCoreApplication::exit(result.status);
}
