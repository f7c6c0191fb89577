#pragma once

#include <QObject>

#include <functional>
#include <memory>

#include "host/job/JobResult.h"

class TaskThread;

/// What one run of the module is asked for.
struct EncodeRequest
{
    QString inputPath;  ///< absolute, and one that Qt can carry
    QString outputPath; ///< the same; its suffix chooses the encoder. No file is there yet
    QString quality;    ///< on the encoder's scale, or a percentage of the input's size
    bool isPercentage = false;
    QString scale = {};    ///< "1", "2" or "4"; empty leaves the image's size alone
    bool isSample = false; ///< videos only: the first 15 seconds
};

/// One run of the module in its thread; its signals come in the thread that made this object.
///
/// Every start() ends in exactly one ended(), from the event loop, whatever happens: unless the object is
/// deleted before, which ends the encoder without a further signal. An object runs once. It is never deleted
/// inside its own signals.
class ModuleRun : public QObject
{
    Q_OBJECT

public:
    ModuleRun(TaskThread& thread, EncodeRequest request);
    ~ModuleRun() override;

    virtual void start();
    /// Ends the run early. It then ends soon and in whatever way: remember that you stopped it.
    virtual void stop();

signals:
    /// 0.0 to 1.0; videos only. May fall.
    void progressed(float share);
    /// No failure: a whole result is at the output path.
    void ended(const Failure& failure);

protected:
    /// For one that runs something else in place of the module.
    ModuleRun() = default;

private:
    class Remote;
    void end(const Failure& failure);

    EncodeRequest mRequest;
    Remote* mRemote = nullptr; ///< lives in the module's thread
    bool mHasEnded = false;
};

using MakeRun = std::function<std::unique_ptr<ModuleRun>(const EncodeRequest&)>;
