#pragma once

#include <QVariantMap>

#include "compressor/ICompressTask.h"

/// The base of all tasks: keeps the parameters and the state, and supplies operations that do nothing.
class CompressTask : public ICompressTask
{
    Q_OBJECT

public:
    enum State
    {
        Stopped = 0,
        Running = 1,
        Succeeded = 2,
        Failed = 3
    };

    explicit CompressTask(const QVariantMap& params);

    bool start() override;
    void stop() override;
    bool estimate() override;

    /// For the host to inspect; nothing in the module reads it. JPEG and PNG tasks stay at Running after an
    /// encoder's end.
    qint32 state() const { return mState; }

protected:
    QVariantMap mParams;
    qint32 mState = Stopped;
};
