#include "host/run/Encode.h"

#include "host/job/Options.h"

TaskRequest Encode::request(int quality) const
{
    return {mContext.sourcePath,
            mContext.resultPath,
            QString::number(quality),
            false,
            mContext.spec.format->isVideo() ? mContext.options.scale : QString(),
            false};
}

Failure Encode::failureOf(int code, const QString& text)
{
    switch (code) {
    case TaskRun::kNoEncoder:
        return {FailureKind::EncoderMissing, text};
    case TaskRun::kNoLibrary:
        return {FailureKind::LibraryMissing, text};
    default:
        return {FailureKind::EncoderFailed, text, code};
    }
}
