#pragma once

#include <QList>
#include <QSharedPointer>
#include <QVariantMap>

#include <functional>
#include <utility>

#include "compressor/ICompressTask.h"

/// A task as a host has it, made through CompressorEntry(), and the finishes and progress it has told.
///
/// It belongs to the thread that made it, like its task.
class TaskProbe : public QObject
{
    Q_OBJECT

public:
    using Finish = std::pair<int, QString>;

    explicit TaskProbe(const QVariantMap& params);
    TaskProbe(const QString& inputPath, const QString& outputPath, const QVariant& quality = 80);

    ICompressTask* operator->() const { return mTask.data(); }
    ICompressTask* task() const { return mTask.data(); }
    /// Lets the task go, as a host does.
    void release() { mTask.reset(); }

    /// Called inside the host's finish slot, behind the count.
    void onFinish(std::function<void()> reaction) { mReaction = std::move(reaction); }

    /// start(), then the event loop until the finish; false when it did not start or not end within a minute.
    bool run();
    /// Runs the event loop until there are so many finishes, at most a minute, and a moment more for one too
    /// many.
    bool waitForFinishes(qsizetype count);

    const QList<Finish>& finishes() const { return mFinishes; }
    const QList<float>& progress() const { return mProgress; }
    /// The last finish; { -1, "none" } without one.
    Finish finish() const;

private slots:
    void onCompressFinished(int finishedCode, const QString& errorDescription);
    void onCompressProcess(float progress) { mProgress.append(progress); }

private:
    QSharedPointer<ICompressTask> mTask;
    QList<Finish> mFinishes;
    QList<float> mProgress;
    std::function<void()> mReaction;
};
