#include "host/module/TaskRun.h"

#include <QDebug>
#include <QFileInfo>
#include <QPointer>
#include <QSharedPointer>
#include <QTimer>

#include <chrono>

#include "compressor/ICompressTask.h"
#include "host/job/Format.h"
#include "host/module/TaskThread.h"
#include "host/system/Platform.h"

using namespace Qt::StringLiterals;

namespace {

// A stopped encoder is normally gone at once; one that hangs in the system's hands must not hang the user.
constexpr std::chrono::seconds kStopTimeout(5);

QVariantMap parametersOf(const TaskRequest& request)
{
    return {
        {u"inputPath"_s, request.inputPath}, {u"outputPath"_s, request.outputPath},
        {u"quality"_s, request.quality},     {u"isPercentage"_s, request.isPercentage},
        {u"scale"_s, request.scale},
    };
}

} // namespace

/// The half that lives in the task thread, with the task.
class TaskRun::Remote : public QObject
{
    Q_OBJECT

public:
    void start(const TaskThread& thread, const TaskRequest& request)
    {
        if (mStopped)
            return emit ended(0, {});
        ICompressor* const compressor = thread.compressor();
        if (!compressor)
            return emit ended(kNoLibrary, thread.errorString());
        mTask = compressor->createTask(parametersOf(request));
        // The library exports no meta-object, so by name. Progress may come from a thread of the module's.
        connect(mTask.data(), SIGNAL(compressProcess(float)), this, SIGNAL(progressed(float)));
        connect(mTask.data(), SIGNAL(compressFinished(int, QString)), this, SIGNAL(ended(int, QString)));
        if (!(request.isSample ? mTask->estimate() : mTask->start())) {
            const Format* const format = Formats::ofSuffix(QFileInfo(request.outputPath).suffix(), true);
            emit ended(kNoEncoder, QLatin1String(format ? format->encoder->file : "ffmpeg"));
            return;
        }
        // The module logs a video's command itself.
        if (thread.logsCommands() &&
            !Formats::ofSuffix(QFileInfo(request.outputPath).suffix(), true)->isVideo())
            qDebug().noquote() << kCommandLog << Platform::lastCommand().join(QChar(u'\0'));
        if (mStopped) {
            // The request came while the module was looking at the source.
            stop();
        }
    }

    void stop()
    {
        if (mTask)
            mTask->stop();
    }

    /// From any thread: what is posted may have to wait behind a start that takes seconds.
    void markStopped() { mStopped = true; }

signals:
    void progressed(float share);
    void ended(int code, const QString& text);

private:
    QSharedPointer<ICompressTask> mTask;
    std::atomic<bool> mStopped = false;
};

TaskRun::TaskRun(TaskThread& thread, TaskRequest request)
    : mThread(thread), mRequest(std::move(request)), mRemote(std::make_shared<Remote>())
{
}

TaskRun::~TaskRun()
{
    mRemote->disconnect(this);
    mRemote->markStopped();
    // Task and encoder end in their thread, behind all that was posted before.
    mThread.post([remote = std::move(mRemote)]() mutable { remote.reset(); });
}

void TaskRun::start()
{
    // The other thread's signals become events of this one.
    connect(mRemote.get(), &Remote::progressed, this, &TaskRun::progressed, Qt::QueuedConnection);
    connect(mRemote.get(), &Remote::ended, this, &TaskRun::end, Qt::QueuedConnection);
    mRemote->moveToThread(mThread.thread());
    mThread.post(
        [remote = mRemote, &thread = mThread, request = mRequest] { remote->start(thread, request); });
}

void TaskRun::stop()
{
    mRemote->markStopped();
    mThread.post([remote = mRemote] { remote->stop(); });
    QTimer::singleShot(kStopTimeout, this, [this] { end(kDeaf, {}); });
}

void TaskRun::end(int code, const QString& text)
{
    if (!std::exchange(mHasEnded, true))
        emit ended(code, text);
}

#include "TaskRun.moc"
