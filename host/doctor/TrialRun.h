#pragma once

#include <QEventLoop>

#include "host/doctor/Diagnosis.h"

class PrivateFolder;
class TaskThread;

/// Tries the encoders by the module's own tasks, in a folder that is the caller's to remove.
class TrialRun
{
public:
    TrialRun(TaskThread& tasks, PrivateFolder& folder) : mTasks(tasks), mFolder(folder) {}

    /// Encodes what the encoder is for, and judges it by what came of it. Runs an event loop.
    void examine(EncoderState& encoder);

    /// Ends a running trial early, and every later one.
    void stop();

private:
    /// Returns why there is no result, or an empty text.
    QString encode(const QString& source, const QString& output, int quality);

    TaskThread& mTasks;
    PrivateFolder& mFolder;
    QEventLoop mLoop;
    bool mStopped = false;
};
