#pragma once

#include <optional>

#include "host/Job.h"
#include "host/StagedOutput.h"

/// A job that delivers a compressed file.
class CompressJob final : public Job
{
    Q_OBJECT

public:
    using Job::Job;

protected:
    QString prepareOutput() override;
    bool launch(ICompressTask& task) override { return task.start(); }
    void conclude() override;

private:
    std::optional<StagedOutput> mOutput;
};
