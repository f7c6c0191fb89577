#pragma once

#include <optional>

#include "host/Job.h"
#include "host/LengthProbe.h"

/// A job that predicts how large a film would become, by an encoded sample of its beginning in the temporary
/// location. Writes no output.
class EstimateJob final : public Job
{
    Q_OBJECT

public:
    using Job::Job;

protected:
    QString prepareOutput() override;
    bool launch(ICompressTask& task) override { return task.estimate(); }
    void conclude() override;

private:
    void compare();
    QString prediction(qint64 before, qint64 sampleBytes) const;

    QString mSamplePath;
    std::optional<LengthProbe> mSourceProbe;
    std::optional<LengthProbe> mSampleProbe;
};
