#pragma once

#include <QMap>

#include "demux/FFDemuxer.h"
#include "demux/VobChapter.h"
#include "demux/VobTrack.h"

namespace Vantor {

/// A DVD file, whose timestamps start again at every joint, as one continuous timeline. The first open() of a
/// path reads the whole file.
class FFVobDemuxer : public FFDemuxer
{
public:
    FFVobDemuxer();

    bool open(const QString& path) override;
    void close() override;

    /// Moves to the time `ms` of the continuous timeline, whatever the stream; past the last chapter it moves
    /// nothing. The place is estimated from the bytes, half a second early where there is room.
    void seek(qint64 ms, int streamIndex) override;

    /// The next packet, its timestamps on the continuous timeline; a missing one stays missing.
    QSharedPointer<AVPacket> readPacket() override;

    /// Of the chapters, when there are any.
    qint64 durationMs() override;

private:
    void indexChapters();
    const VobChapter* chapterOf(const AVPacket& packet);
    AVRational timeBaseOf(const VobChapter& chapter) const;
    qint64 chapterLengthMs(const VobChapter& chapter) const;

    QSharedPointer<const VobChapterList> mChapters;
    VobChapter mCachedChapter; ///< of the previous packet, whatever its stream
    bool mCachedChapterValid = false;
    QMap<int, VobTrack> mTracks;      ///< by stream index
    QMap<int, AVRational> mTimeBases; ///< by stream index
};

} // namespace Vantor
