#include "video/ProgressThread.h"

#include <QFile>
#include <QMutexLocker>

#include <cmath>
#include <utility>

#include "process/Files.h"

namespace {

constexpr std::chrono::milliseconds kPollInterval{500};
constexpr std::chrono::milliseconds kOpenInterval{5};
constexpr char kEndMarker[] = "progress=end";

} // namespace

std::optional<float> progressIn(const QByteArray& line, float durationMs)
{
    const QList<QByteArray> parts = line.split('=');
    if (parts.size() != 2 || parts[0] != "out_time_us" || !(durationMs > 0))
        return std::nullopt;
    const float microseconds = parts[1].toFloat();
    // To Qt "nan" is a number; it counts as any other text.
    return std::isnan(microseconds) ? 0.0F : std::abs(microseconds) / 1000.0F / durationMs;
}

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

void ProgressThread::encoderEnded()
{
    {
        const QMutexLocker lock(&mMutex);
        mEncoderEnded = true;
        mWakeUp.notify_all();
    }
    if (mReporting.tryLock(kStopTimeoutMs))
        mReporting.unlock();
}

void ProgressThread::Release::operator()(ProgressThread* monitor) const
{
    monitor->disconnect();
    monitor->requestStop();
    if (QThread::currentThread() != monitor && monitor->QThread::wait(kStopTimeoutMs))
        delete monitor;
    else
        later(monitor);
}

void ProgressThread::Release::later(ProgressThread* monitor)
{
    monitor->disconnect();
    monitor->requestStop();
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

bool ProgressThread::hasEncoderEnded()
{
    const QMutexLocker lock(&mMutex);
    return mEncoderEnded;
}

// A stop request and the encoder's end cut the pause short.
void ProgressThread::pause(std::chrono::milliseconds length)
{
    const QMutexLocker lock(&mMutex);
    if (mRunning && !mEncoderEnded)
        mWakeUp.wait_for(mMutex, length);
}

void ProgressThread::run()
{
    QFile file(mProgressFilePath);
    QByteArray line;
    while (shouldRun()) {
        // Asked before the read: what an encoder has written, it wrote before it ended.
        const bool lastRead = hasEncoderEnded();
        if (mWaitingForFile) {
            // An encoder without a command gets no file; it ends by itself soon.
            mWaitingForFile =
                mProgressFilePath.isEmpty() || !file.open(QIODevice::ReadOnly | QIODevice::Text);
            if (mWaitingForFile) {
                if (lastRead)
                    break;
                pause(kOpenInterval);
                continue;
            }
        }
        if (readLine(file, line))
            continue;
        if (lastRead || mSawEndMarker)
            break;
        // ffmpeg has written no more, or half a line: its rest is appended after the pause.
        pause(kPollInterval);
    }
    file.close();
    if (mProgressFilePath.isEmpty())
        return;
    // ffmpeg may hold it for a moment behind its end marker. Whoever asks for a stop waits for this thread.
    if (shouldRun())
        Files::remove(Files::native(mProgressFilePath));
    else
        file.remove();
}

bool ProgressThread::readLine(QFile& file, QByteArray& line)
{
    const QMutexLocker reporting(&mReporting);
    line += file.readLine();
    const bool whole = line.endsWith('\n');
    if (whole)
        line.chop(1);
    // The end marker is known for whole even without its line end.
    mSawEndMarker = line == kEndMarker;
    if (!whole || mSawEndMarker)
        return false;
    if (const auto progress = progressIn(std::exchange(line, {}), mDuration))
        emit threadCompressProcess(*progress);
    return true;
}
