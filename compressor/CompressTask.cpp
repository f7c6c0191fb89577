#include "compressor/CompressTask.h"

CompressTask::CompressTask(const QVariantMap& params) : ICompressTask(nullptr), mParams(params) {}

bool CompressTask::start()
{
    return false;
}

void CompressTask::stop() {}

bool CompressTask::estimate()
{
    return false;
}
