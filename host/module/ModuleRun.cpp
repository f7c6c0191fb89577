#include "host/module/ModuleRun.h"

#include <QFileInfo>
#include <QSharedPointer>
#include <QTimer>

#include <atomic>
#include <chrono>

#include "compressor/ICompressTask.h"
#include "host/job/Format.h"
#include "host/module/TaskThread.h"

using namespace Qt::StringLiterals;

namespace {

// A stopped encoder is normally gone at once; one that hangs in the system's hands must not hang the user.
constexpr std::chrono::seconds kStopTimeout(5);

} // namespace

/// The half that lives in the module's thread, with the task.
class ModuleRun::Remote : public QObject
{
    Q_OBJECT

public:
    explicit Remote(TaskThread& thread) : mThread(thread) { moveToThread(&thread); }

    void start(const EncodeRequest& request)
    {
        if (mIsStopped)
            return emit ended({FailureKind::Interrupted});
        const CompressorLibrary& library = mThread.library();
        if (!library.compressor)
            return emit ended({FailureKind::LibraryMissing, library.error});
        mTask = library.compressor->createTask({{u"inputPath"_s, request.inputPath},
                                                {u"outputPath"_s, request.outputPath},
                                                {u"quality"_s, request.quality},
                                                {u"isPercentage"_s, request.isPercentage},
                                                {u"scale"_s, request.scale}});
        // The library exports no meta-object, so by name. Progress may come from a thread of the module's.
        connect(mTask.data(), SIGNAL(compressProcess(float)), this, SIGNAL(progressed(float)));
        connect(mTask.data(), SIGNAL(compressFinished(int, QString)), this, SLOT(onFinished(int, QString)));
        if (!(request.isSample ? mTask->estimate() : mTask->start())) {
            const Format* const format = Formats::ofSuffix(QFileInfo(request.outputPath).suffix(), true);
            return emit ended({FailureKind::EncoderMissing, QLatin1String(format->encoder->file)});
        }
        // Asked for while the module was looking at the source.
        if (mIsStopped)
            stop();
    }

    void stop()
    {
        if (mTask)
            mTask->stop();
    }

    /// From any thread: what is posted may have to wait for a start that takes seconds.
    void markStopped() { mIsStopped = true; }

signals:
    void progressed(float share);
    void ended(const Failure& failure);

private slots:
    void onFinished(int code, const QString& text)
    {
        emit ended(code == 0 ? Failure() : Failure{FailureKind::EncoderFailed, text, code});
    }

private:
    TaskThread& mThread;
    QSharedPointer<ICompressTask> mTask;
    std::atomic<bool> mIsStopped = false;
};

ModuleRun::ModuleRun(TaskThread& thread, EncodeRequest request)
    : mRequest(std::move(request)), mRemote(new Remote(thread))
{
    // The other thread's signals become events of this one.
    connect(mRemote, &Remote::progressed, this, &ModuleRun::progressed, Qt::QueuedConnection);
    connect(mRemote, &Remote::ended, this, &ModuleRun::end, Qt::QueuedConnection);
}

ModuleRun::~ModuleRun()
{
    if (!mRemote)
        return;
    mRemote->disconnect(this);
    mRemote->markStopped();
    // Task and encoder end in their thread, after all that was posted before.
    mRemote->deleteLater();
}

void ModuleRun::start()
{
    QMetaObject::invokeMethod(
        mRemote, [remote = mRemote, request = mRequest] { remote->start(request); }, Qt::QueuedConnection);
}

void ModuleRun::stop()
{
    mRemote->markStopped();
    QMetaObject::invokeMethod(mRemote, &Remote::stop, Qt::QueuedConnection);
    QTimer::singleShot(kStopTimeout, this, [this] { end({FailureKind::Interrupted}); });
}

void ModuleRun::end(const Failure& failure)
{
    if (!std::exchange(mHasEnded, true))
        emit ended(failure);
}

#include "ModuleRun.moc"
