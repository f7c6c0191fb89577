#pragma once

#include <QThread>

#include "host/module/CompressorLibrary.h"

/// The thread that the module and all its tasks live in: a video's start may look into its source for
/// seconds, and the ends of encoders are judged and delivered here, while the main thread shows, plans and
/// renames.
class TaskThread final : public QThread
{
public:
    /// Starts the thread, which loads the module at once. `nice`: how much lower the encoders' priority is.
    explicit TaskThread(int nice = 0);
    /// Waits until the last task is gone.
    ~TaskThread() override;

    /// Only to be called in the thread.
    const CompressorLibrary& library() const { return mLibrary; }

protected:
    void run() override;

private:
    const int mNice;
    CompressorLibrary mLibrary;
};
