// A DVD file of any bytes: its chapters, all its packets on their one timeline, and seeks.
#include "demux/FFVobDemuxer.h"
#include "demux/VobChapterScanner.h"
#include "tests/fuzz/Fuzz.h"

using namespace Qt::StringLiterals;

using Fuzz::require;
using namespace Vantor;

namespace {

void check(const VobChapterList& list, const AVFormatContext& context)
{
    require(!list.chapters.isEmpty(), "there are chapters, or no list");
    for (const VobChapter& chapter : list.chapters) {
        require(chapter.streamIndex >= 0 && unsigned(chapter.streamIndex) < context.nb_streams,
                "a chapter has a stream");
        require(chapter.firstDts <= chapter.lastDts, "a chapter does not go back");
        require(chapter.firstDts != AV_NOPTS_VALUE && chapter.firstPts != AV_NOPTS_VALUE,
                "a chapter has times");
    }
}

// As the plain demuxer reads it, but for the times.
void comparePackets(FFVobDemuxer& vob, FFDemuxer& plain)
{
    for (;;) {
        const auto packet = vob.readPacket();
        const auto source = plain.readPacket();
        require(packet.isNull() == source.isNull(), "no packet is lost or made");
        if (!packet)
            return;
        require(packet->stream_index == source->stream_index && packet->pos == source->pos &&
                    std::equal(packet->data, packet->data + packet->size, source->data,
                               source->data + source->size),
                "packets are the source's");
        require(source->dts != AV_NOPTS_VALUE || packet->dts == AV_NOPTS_VALUE,
                "a missing time stays missing");
        require(source->pts != AV_NOPTS_VALUE || packet->pts == AV_NOPTS_VALUE || packet->pts == packet->dts,
                "a missing presentation time is at most the decoding time");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Fuzz::Input input(data, size);
    qint64 seeks[3];
    for (qint64& ms : seeks)
        ms = input.flag() ? input.number(20000) : input.anyNumber();
    // Chapters are remembered by their path.
    static int count = 0;
    const QString path = Fuzz::write(QString::number(++count) + u".vob"_s, input.rest());

    FFVobDemuxer vob;
    FFDemuxer plain(FFDemuxer::TimestampFall::Joint);
    const bool isOpen = vob.open(path);
    require(plain.open(path) == isOpen, "it opens as the plain demuxer does");
    const auto list = VobChapterScanner::instance().chapters(path);
    require(isOpen || !list, "what does not open has no chapters");
    if (list)
        check(*list, *vob.formatContext());
    comparePackets(vob, plain);
    const qint64 durationMs = vob.durationMs();
    require(durationMs >= 0, "a duration is not negative");
    for (const qint64 ms : seeks) {
        vob.seek(ms, 0);
        for (int i = 0; i < 20 && vob.readPacket(); ++i) {
        }
    }
    QFile::remove(path);
    if (list) {
        require(VobChapterScanner::instance().chapters(path) == list, "a file is scanned once");
        require(vob.durationMs() == durationMs, "reading and seeking leave the duration");
    }
    vob.close();
    require(!vob.readPacket() && vob.durationMs() == 0, "closed is closed");
    return 0;
}
