// Any bytes as a file of each suffix that the demuxer knows, of one that it does not, and as a resource.
#include <QDataStream>
#include <QResource>

#include <cmath>

#include "demux/FFDemuxer.h"
#include "demux/MediaDescription.h"
#include "hostlibs/AvBridge.h"
#include "hostlibs/VxMediaInfo.h"
#include "tests/fuzz/Fuzz.h"
#include "video/InfoEstimate.h"

using namespace Qt::StringLiterals;

using Fuzz::require;
using namespace Vantor;

namespace {

constexpr int kMostPackets = 200;

/// The content as the resource ":/m", in the form that rcc writes: a tree of a root and a file, names, data.
class Resource
{
public:
    explicit Resource(const QByteArray& content)
    {
        QDataStream stream(&mBytes, QIODevice::WriteOnly);
        constexpr quint32 tree = 20;
        constexpr quint32 names = tree + 2 * 14;
        constexpr quint32 file = names + 8;
        constexpr quint16 isFolder = 2;
        stream.writeRawData("qres", 4);
        stream << quint32(1) << tree << file << names;
        stream << quint32(0) << isFolder << quint32(1) << quint32(1);
        stream << quint32(0) << quint16(0) << quint16(QLocale::AnyCountry) << quint16(QLocale::C)
               << quint32(0);
        stream << quint16(1) << quint32('m') << quint16('m'); // of one letter the hash is itself
        stream << content;                                    // its length first
        require(QResource::registerResource(bytes()), "the resource is registered");
    }
    ~Resource() { require(QResource::unregisterResource(bytes()), "nobody holds the resource"); }
    Q_DISABLE_COPY_MOVE(Resource)

private:
    const uchar* bytes() const { return reinterpret_cast<const uchar*>(mBytes.constData()); }
    QByteArray mBytes;
};

void check(const MediaDescription& media, const AVFormatContext& context)
{
    require(media.streams.size() == qsizetype(context.nb_streams) && context.nb_streams > 0, "every stream");
    for (qsizetype at = 0; at < media.streams.size(); ++at)
        require(media.streams[at]->index == at, "streams are in order");
    require(media.videoStreams.size() + media.audioStreams.size() + media.subtitleStreams.size() <=
                media.streams.size(),
            "a stream is of one type");
    for (const auto& video : media.videoStreams) {
        const AVRational rate = video->frameRate;
        require(rate.num > 0 && rate.den > 0 && rate.num / rate.den <= 1000, "a frame rate is plausible");
        require(video->rotation >= 0 && video->rotation < 360, "a rotation is below a turn");
    }
}

void read(FFDemuxer& demuxer)
{
    const auto context = demuxer.formatContext();
    for (int count = 0; count < kMostPackets; ++count) {
        const auto packet = demuxer.readPacket();
        if (!packet)
            return;
        require(packet->size > 0 && packet->data, "a packet has bytes");
        require(packet->stream_index >= 0 && unsigned(packet->stream_index) < context->nb_streams,
                "a packet has a stream");
    }
}

void useOpen(FFDemuxer& demuxer, Fuzz::Input& choices)
{
    auto context = demuxer.formatContext();
    read(demuxer);
    require(demuxer.durationMs() >= 0, "a duration is not negative");
    demuxer.seek(choices.anyNumber(), static_cast<int>(choices.number(4)) - 1);
    read(demuxer);
    demuxer.seekByFilePos(choices.anyNumber());
    read(demuxer);
    demuxer.seek(0, 0);
    qint64 estimateMs = 0;
    infoEstimate(context, estimateMs);
    demuxer.close();
    // The copy keeps it open.
    const auto packet = makeAVPacketPtr(av_packet_alloc());
    av_seek_frame(context.data(), -1, 0, AVSEEK_FLAG_BACKWARD);
    av_read_frame(context.data(), packet.data());
}

void run(const QString& path, Fuzz::Input& choices)
{
    FFDemuxer demuxer;
    const bool isOpen = demuxer.open(path);
    const auto media = describeMedia(demuxer);
    require(isOpen == !demuxer.formatContext().isNull() && isOpen == !media.isNull(), "open, or closed");
    require(demuxer.filePath() == (isOpen ? path : QString()), "the path is known once it is open");
    if (isOpen) {
        check(*media, *demuxer.formatContext());
        useOpen(demuxer, choices);
    }
    require(!demuxer.readPacket() && demuxer.durationMs() == 0 && !describeMedia(demuxer),
            "closed is closed");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QString kNames[] = {u"a.mp4"_s, u"a.flv"_s, u"a.ts"_s, u"a.vob"_s, QString()};
    Fuzz::Input input(data, size);
    const QString& name = input.oneOf(kNames);
    Fuzz::Input choices = input;
    if (name.isEmpty()) {
        const Resource resource(input.rest());
        run(u":/m"_s, choices);
        return 0;
    }
    const QString path = Fuzz::write(name, input.rest());
    run(path, choices);
    const auto info = getMediaInfo(path, -1, true);
    require(info->duration >= 0 && info->size >= 0, "what is known of a file is not negative");
    for (const auto& sound : info->audioStreams)
        require(sound->bitrate >= 0, "a bitrate is not negative");
    return 0;
}
