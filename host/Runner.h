#pragma once

#include <QObject>

#include <memory>
#include <optional>

#include "host/Job.h"
#include "host/LengthProbe.h"
#include "host/PrivateFolder.h"
#include "host/ProgressBar.h"

/// Runs the jobs of one command line (one, for now) on the application's event loop, and tells the user.
class Runner : public QObject
{
    Q_OBJECT

public:
    explicit Runner(const Options& options);

    /// Returns the program's exit status, with nothing left behind.
    int exec();

private:
    void startJob();
    std::unique_ptr<Job> makeJob(ICompressor& compressor);
    void showProgressOf(const Job& job);
    void onInterrupt();
    void onEnded(const JobResult& result);

    Options mOptions;
    // The temporary folder outlives the job, whose encoder still writes into it.
    std::optional<PrivateFolder> mTemporaryFolder;
    std::unique_ptr<Job> mJob;
    std::optional<ProgressBar> mProgressBar;
    std::optional<LengthProbe> mLengthProbe;
};
