#pragma once

#include <memory>

#include "host/run/Stage.h"

/// A job's third stage: whether a finished result is whole, as long as its source, and what it has lost. With
/// --keep-metadata it first puts the source's into it. Touches the result and files of its own beside it, and
/// nothing else.
class Check : public Stage
{
    Q_OBJECT

public:
    explicit Check(JobState& job);
    ~Check() override;

    void start() override;

private:
    Failure measure(qint64& bytes) const;
    void checkImage();
    void probeVideo();
    void onProbed(const ToolResult& answer);
    void onRestored(const ToolResult& restored);
    void end(Failure failure);

    ToolRun mProbe;
    std::unique_ptr<ToolRun> mRestore;
    QString mRestoredPath;
    bool mIsRestored = false;
};
