#pragma once

#include "host/run/Stage.h"

/// A job's first stage: whether the source is what the output's encoder takes, and whole. Nothing but the
/// file's own content decides.
class Look : public Stage
{
    Q_OBJECT

public:
    using Stage::Stage;

    void start() override;

private:
    Failure judge();
    void onProbed(const ToolResult& answer);

    ToolRun mProbe;
};
