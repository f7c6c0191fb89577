#include "demux/ResourceIo.h"

#include <QFile>

#include <cstdio>
#include <utility>

namespace Vantor {

namespace {

int qrcRead(void* opaque, uint8_t* buffer, int size)
{
    if (!opaque)
        return -1;
    const qint64 count = static_cast<QFile*>(opaque)->read(reinterpret_cast<char*>(buffer), size);
    // 0 would let some demuxers ask for ever.
    return count < 1 ? -1 : static_cast<int>(count);
}

int64_t qrcSeek(void* opaque, int64_t offset, int whence)
{
    if (!opaque)
        return -1;
    auto* file = static_cast<QFile*>(opaque);
    qint64 start = 0;
    switch (whence) {
    case SEEK_SET:
        break;
    case SEEK_CUR:
        start = file->pos();
        break;
    case SEEK_END:
        start = file->size();
        break;
    default:
        return -1;
    }
    return file->seek(start + offset) ? file->pos() : -1;
}

} // namespace

// Probing puts a buffer of FFmpeg's own in the place of the missing one.
ResourceIo::ResourceIo(std::shared_ptr<QFile> file)
    : mFile(std::move(file)),
      mContext(avio_alloc_context(nullptr, 0, 0, mFile.get(), qrcRead, nullptr, qrcSeek))
{
}

ResourceIo::~ResourceIo()
{
    if (mContext)
        av_freep(&mContext->buffer);
    avio_context_free(&mContext);
}

QSharedPointer<AVFormatContext> bindIo(QSharedPointer<AVFormatContext> context,
                                       std::unique_ptr<ResourceIo> resourceIo)
{
    AVFormatContext* raw = context.data();
    auto release = [context = std::move(context),
                    kept = std::shared_ptr<ResourceIo>(std::move(resourceIo))](AVFormatContext*) mutable {
        context.clear();
        kept.reset();
    };
    return {raw, std::move(release)};
}

} // namespace Vantor
