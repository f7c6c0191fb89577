#pragma once

#include <memory>

#include "host/run/Encode.h"

/// One run of the module. A second one where the module gave the source for a larger result and the source is
/// of another kind than its copy's name would say.
class PlainEncode final : public Encode
{
    Q_OBJECT

public:
    using Encode::Encode;
    ~PlainEncode() override;

    void start() override;
    void stop() override;

private:
    void run(const QString& sourcePath);
    void onEnded(const Failure& failure);

    std::unique_ptr<ModuleRun> mRun;
    QString mPadded; ///< a copy of the source with a tail, once it was needed
    int mRuns = 0;
};
