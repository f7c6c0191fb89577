#pragma once

#include "host/job/JobResult.h"
#include "host/job/Options.h"
#include "host/plan/InputList.h"

/// Where the result of an input goes.
struct OutputName
{
    QString path;
    const Format* format = nullptr; ///< null with a failure
    Failure failure;
};

/// `isFolder`: the options' output is a folder that the results go below.
OutputName nameOutput(const Options& options, const Input& input, bool isFolder);
