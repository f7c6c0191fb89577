#pragma once

#include "host/module/TaskRun.h"
#include "host/search/EncodeRun.h"

/// Lets the searches run the module.
class ModuleRun final : public EncodeRun
{
    Q_OBJECT

public:
    ModuleRun(TaskThread& tasks, const EncodeRequest& request)
        : mRun(tasks, {request.inputPath, request.outputPath, request.quality, request.isPercentage,
                       request.scale, request.isSample})
    {
        connect(&mRun, &TaskRun::progressed, this, &EncodeRun::progressed);
        connect(&mRun, &TaskRun::ended, this, &EncodeRun::ended);
    }

    void start() override { mRun.start(); }
    void stop() override { mRun.stop(); }

private:
    TaskRun mRun;
};
