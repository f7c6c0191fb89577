#include "demux/DemuxerRecord.h"

namespace Vantor {

DemuxerRecord::DemuxerRecord(const char* function, const FFDemuxer* demuxer, size_t line)
    : mRecord(function, line, "FFDemuxer", demuxer, 0)
{
}

DemuxerRecord::~DemuxerRecord()
{
    VantorBaseEntry()->logger().write(mRecord);
}

} // namespace Vantor
