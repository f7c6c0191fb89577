#include "host/run/Encode.h"

#include "host/job/Options.h"

EncodeRequest Encode::request(int quality) const
{
    return {mContext.sourcePath,
            mContext.resultPath,
            QString::number(quality),
            false,
            mContext.spec.format->isVideo() ? mContext.options.scale : QString(),
            false};
}
