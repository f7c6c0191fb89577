#include "video/ProgressThread.h"

#include <QFile>
#include <QMutexLocker>

#include <cmath>
#include <utility>

namespace {

constexpr std::chrono::milliseconds kPollInterval{500};
constexpr std::chrono::milliseconds kOpenInterval{5};

} // namespace

ProgressThread::ProgressThread(float duration, QString progressFilePath)
    : mDuration(duration), mProgressFilePath(std::move(progressFilePath))
{
}

ProgressThread::~ProgressThread()
{
    requestStop();
    wait();
}

void ProgressThread::requestStop()
{
    const QMutexLocker lock(&mMutex);
    mRunning = false;
    mWakeUp.notify_all();
}

void ProgressThread::silence()
{
    {
        const QMutexLocker lock(&mMutex);
        mSilent = true;
        mWakeUp.notify_all();
    }
    if (mReporting.tryLock(kStopTimeoutMs))
        mReporting.unlock();
}

void ProgressThread::Release::operator()(ProgressThread* monitor) const
{
    monitor->disconnect();
    monitor->requestStop();
    if (QThread::currentThread() != monitor && monitor->QThread::wait(kStopTimeoutMs)) {
        delete monitor;
        return;
    }
    connect(monitor, &QThread::finished, monitor, &QObject::deleteLater);
    // It may have finished before the connection was made.
    if (monitor->isFinished())
        monitor->deleteLater();
}

bool ProgressThread::shouldRun()
{
    const QMutexLocker lock(&mMutex);
    return mRunning;
}

bool ProgressThread::isSilent()
{
    const QMutexLocker lock(&mMutex);
    return mSilent;
}

// A stop request and the encoder's end cut the pause short.
void ProgressThread::pause(std::chrono::milliseconds length)
{
    const QMutexLocker lock(&mMutex);
    if (mRunning)
        mWakeUp.wait_for(mMutex, length);
}

void ProgressThread::run()
{
    QFile file(mProgressFilePath);
    QByteArray line;
    while (shouldRun()) {
        if (mWaitingForFile) {
            // An encoder without a command gets no file; it ends by itself soon.
            mWaitingForFile =
                mProgressFilePath.isEmpty() || !file.open(QIODevice::ReadOnly | QIODevice::Text);
            if (mWaitingForFile) {
                pause(kOpenInterval);
                continue;
            }
        }
        line += file.readLine();
        const bool whole = line.endsWith('\n');
        if (whole)
            line.chop(1);
        // The end marker is known for whole even without its line end.
        if (line == "progress=end")
            break;
        if (whole) {
            report(line);
            line.clear();
        } else {
            // ffmpeg has written no more, or half a line: its rest is appended after the pause.
            pause(kPollInterval);
        }
    }
    file.close();
    if (!mProgressFilePath.isEmpty())
        file.remove();
}

void ProgressThread::report(const QByteArray& line)
{
    const QList<QByteArray> parts = line.split('=');
    if (parts.size() != 2 || parts[0] != "out_time_us" || !(mDuration > 0))
        return;
    const float milliseconds = std::abs(parts[1].toFloat()) / 1000.0F;
    const QMutexLocker reporting(&mReporting);
    if (!isSilent())
        emit threadCompressProcess(milliseconds / mDuration);
}
