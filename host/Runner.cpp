#include "host/Runner.h"

#include <QCoreApplication>
#include <QDir>

#include "host/CompressJob.h"
#include "host/CompressorLibrary.h"
#include "host/EstimateJob.h"
#include "host/Format.h"
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
    mLengthProbe.reset();
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
    mJob = makeJob(*compressor);
    connect(mJob.get(), &Job::ended, this, &Runner::onEnded);
    if (!mOptions.quiet && formatOf(mOptions.outputPath).isVideo())
        showProgressOf(*mJob);
    mJob->start();
}

std::unique_ptr<Job> Runner::makeJob(ICompressor& compressor)
{
    if (mOptions.estimate)
        return std::make_unique<EstimateJob>(compressor, mOptions);
    return std::make_unique<CompressJob>(compressor, mOptions);
}

void Runner::showProgressOf(const Job& job)
{
    const bool isTerminal = Platform::isTerminal(stderr);
    mProgressBar.emplace(isTerminal);
    connect(&job, &Job::progressed, this, [this](float progress) {
        if (mProgressBar)
            mProgressBar->update(progress);
    });
    // The speed is for people who watch. A sample's progress is not that of the whole film.
    if (!isTerminal || mOptions.estimate)
        return;
    mLengthProbe.emplace(mOptions.inputPath);
    connect(&*mLengthProbe, &LengthProbe::answered, this, [this] {
        if (mProgressBar)
            mProgressBar->setLengthMs(mLengthProbe->lengthMs());
    });
}

void Runner::onInterrupt()
{
    if (mJob)
        mJob->stop();
}

void Runner::onEnded(const JobResult& result)
{
    // A last progress may still be on its way from the module's thread.
    if (mProgressBar)
        mProgressBar->clear();
    mProgressBar.reset();
    if (result.interrupted)
        return QCoreApplication::exit(kInterruptedBase + Platform::interrupt());
    if (result.status != kDelivered)
        printError(result.text);
    else if (!mOptions.quiet)
        printResult(result.text);
    QCoreApplication::exit(result.status);
}
