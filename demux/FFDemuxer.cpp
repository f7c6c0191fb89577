#include "demux/FFDemuxer.h"

#include <QFile>
#include <QFileInfo>
#include <QMap>

#include <algorithm>
#include <utility>

#include "demux/DemuxerRecord.h"
#include "demux/ResourceIo.h"
#include "hostlibs/AvBridge.h"

using namespace Qt::StringLiterals;

namespace Vantor {

namespace {

constexpr char kOpen[] = "Vantor::FFDemuxer::open";

using FormatTable = QMap<QString, QString>;

// What the first attempt takes a suffix for.
const FormatTable kPreferredFormats{
    {u"flv"_s, u"live_flv"_s},
    {u"ts"_s, u"mpegts"_s},
};

// What the last attempt does, when probing found invalid data.
const FormatTable kFallbackFormats{
    {u"vob"_s, u"mpeg"_s},
};

// Null, which lets FFmpeg probe, for a suffix without an entry.
const AVInputFormat* formatFor(const FormatTable& table, const QString& suffix)
{
    return av_find_input_format(table.value(suffix).toLatin1().constData());
}

int openWithOptions(AVFormatContext** context, const QByteArray& path, const AVInputFormat* format)
{
    AVDictionary* options = nullptr;
    // An image's name is taken as it is, without expanding a pattern; fragment indexes give decoding times.
    av_dict_set(&options, "pattern_type", "none", 0);
    av_dict_set_int(&options, "use_mfra_for", 1, 0);
    const int result = avformat_open_input(context, path.constData(), format, &options);
    av_dict_free(&options);
    return result;
}

// The stream information of WMV3 in ASF may fail although its packets can be read.
bool toleratesMissingInfo(AVFormatContext* context)
{
    if (context->nb_streams == 0)
        return false;
    const int best = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    return best >= 0 && context->streams[best]->codecpar->codec_id == AV_CODEC_ID_WMV3;
}

} // namespace

FFDemuxer::FFDemuxer(TimestampFall fall) : mTimestampFall(fall) {}

FFDemuxer::~FFDemuxer() = default;

bool FFDemuxer::open(const QString& path)
{
    ffmpegLogToPLog();
    if (path.isEmpty())
        return false;
    const bool isResource = path.startsWith(u':');
    if (isResource) {
        mQrcFile = std::make_shared<QFile>(path);
        if (!mQrcFile->open(QIODevice::ReadOnly)) {
            DemuxerRecord(kOpen, this) << "mQrcFile->open failed.";
            return false;
        }
    }
    const int result = isResource ? openResource() : openFile(path);
    if (result != 0) {
        DemuxerRecord(kOpen, this) << "---demux--- avformat_open_input: " << result << ": "
                                   << errorText(result);
        DemuxerRecord(kOpen, this) << "---demux--- Could not open the file . fileSize :"
                                   << QFileInfo(path).size() << path;
        mFormatCtx.clear();
        return false;
    }
    if (!readStreamInfo()) {
        DemuxerRecord(kOpen, this) << "---demux--- avformat_find_stream_info failed";
        mFormatCtx.clear();
        return false;
    }
    mFilePath = path;
    return true;
}

int FFDemuxer::openFile(const QString& path)
{
    const QByteArray name = path.toUtf8();
    const QString suffix = QFileInfo(path).suffix().toLower();
    AVFormatContext* context = nullptr;

    const AVInputFormat* preferred = formatFor(kPreferredFormats, suffix);
    int result = avformat_open_input(&context, name.constData(), preferred, nullptr);
    DemuxerRecord(kOpen, this) << "maybe specific format, ret = " << result;
    if (result != 0 && preferred) {
        result = avformat_open_input(&context, name.constData(), nullptr, nullptr);
        DemuxerRecord(kOpen, this) << "retry auto detected, ret = " << result;
    }
    if (result == AVERROR_INVALIDDATA) {
        result = openWithOptions(&context, name, formatFor(kFallbackFormats, suffix));
        DemuxerRecord(kOpen, this) << "try add option, ret = " << result;
    }
    mFormatCtx = makeAVFormatContextPtr(context);
    return result;
}

int FFDemuxer::openResource()
{
    auto resourceIo = std::make_unique<ResourceIo>(mQrcFile);
    AVFormatContext* context = avformat_alloc_context();
    mFormatCtx.clear();
    if (!context || !resourceIo->context()) {
        avformat_free_context(context);
        return AVERROR(ENOMEM);
    }
    context->pb = resourceIo->context();
    context->flags |= AVFMT_FLAG_CUSTOM_IO;
    // A failed open frees the context that it was given, so no handle has it before.
    const int result = avformat_open_input(&context, nullptr, nullptr, nullptr);
    if (result == 0)
        mFormatCtx = bindIo(makeAVFormatContextPtr(context), std::move(resourceIo));
    return result;
}

bool FFDemuxer::readStreamInfo()
{
    AVFormatContext* context = mFormatCtx.data();
    const bool tolerant = toleratesMissingInfo(context);
    if (mTimestampFall == TimestampFall::Joint)
        context->correct_ts_overflow = 0;
    return avformat_find_stream_info(context, nullptr) >= 0 || tolerant;
}

void FFDemuxer::close()
{
    mFormatCtx.clear();
}

void FFDemuxer::seek(qint64 ms, int streamIndex)
{
    AVFormatContext* context = mFormatCtx.data();
    if (!context || streamIndex < 0 || static_cast<unsigned>(streamIndex) >= context->nb_streams)
        return;
    const qint64 target =
        ms <= 0 ? 0 : av_rescale_q(ms, kMilliseconds, context->streams[streamIndex]->time_base);
    int result = av_seek_frame(context, streamIndex, target, AVSEEK_FLAG_BACKWARD);
    if (result < 0)
        result = av_seek_frame(context, streamIndex, target, AVSEEK_FLAG_BYTE);
    if (result < 0)
        result = av_seek_frame(context, -1, target, AVSEEK_FLAG_ANY);
    if (result < 0) {
        DemuxerRecord("Vantor::FFDemuxer::seek", this)
            << "---player--- seekByStream streamIndex: " << streamIndex << ",res : " << result << ": "
            << errorText(result);
    }
}

QSharedPointer<AVPacket> FFDemuxer::readPacket()
{
    if (!mFormatCtx)
        return {};
    auto packet = makeAVPacketPtr(av_packet_alloc());
    if (!packet || av_read_frame(mFormatCtx.data(), packet.data()) != 0 || packet->size < 1)
        return {};
    return packet;
}

qint64 FFDemuxer::durationMs()
{
    return mFormatCtx ? std::max<qint64>(mFormatCtx->duration, 0) / 1000 : 0;
}

void FFDemuxer::seekByFilePos(qint64 pos)
{
    if (!mFormatCtx)
        return;
    avformat_flush(mFormatCtx.data());
    const int result = av_seek_frame(mFormatCtx.data(), -1, pos, AVSEEK_FLAG_BYTE);
    if (result < 0) {
        DemuxerRecord("Vantor::FFDemuxer::seekByFilePos", this)
            << "---player--- seekByFilePos av_seek_frame: " << result << ": " << errorText(result);
    }
}

} // namespace Vantor
