#pragma once

#include "hostlibs/VantorBase.h"

namespace Vantor {

class FFDemuxer;

/// A log record of a demuxer, put together with << and handed to the host's logger at the end of its
/// statement.
class DemuxerRecord
{
public:
    /// `function` is a literal with the full name.
    DemuxerRecord(const char* function, const FFDemuxer* demuxer, size_t line = __builtin_LINE());
    ~DemuxerRecord();
    DemuxerRecord(const DemuxerRecord&) = delete;
    DemuxerRecord& operator=(const DemuxerRecord&) = delete;

    template <typename Piece>
    DemuxerRecord& operator<<(const Piece& piece)
    {
        mRecord << piece;
        return *this;
    }

private:
    Record mRecord;
};

} // namespace Vantor
