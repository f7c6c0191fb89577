#include "host/module/TaskThread.h"

#include "host/module/CompressorLibrary.h"
#include "host/system/Platform.h"

TaskThread::TaskThread(const Options& options) : mContext(new QObject), mLogsCommands(options.verbose)
{
    mContext->moveToThread(&mThread);
    mThread.start();
    post([this, nice = options.nice] {
        if (nice > 0)
            Platform::lowerPriority(nice);
        CompressorLibrary library;
        mCompressor = library.load();
        mError = library.errorString();
    });
}

TaskThread::~TaskThread()
{
    mContext->deleteLater();
    mThread.quit();
    mThread.wait();
}
