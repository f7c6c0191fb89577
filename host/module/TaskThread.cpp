#include "host/module/TaskThread.h"

#include "host/system/Platform.h"

TaskThread::TaskThread(int nice) : mNice(nice)
{
    start();
}

TaskThread::~TaskThread()
{
    quit();
    wait();
}

void TaskThread::run()
{
    if (mNice > 0)
        Platform::lowerPriority(mNice);
    mLibrary = CompressorLibrary::load();
    exec();
}
