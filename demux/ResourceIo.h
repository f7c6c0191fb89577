#pragma once

#include <QSharedPointer>

#include <memory>

#include "demux/FFmpeg.h"

class QFile;

namespace Vantor {

/// FFmpeg's custom input on an open QFile. A context doesn't own its custom I/O, which owns neither its
/// buffer nor its file; this object owns all three and must outlive the context. Reading and seeking move the
/// file.
class ResourceIo
{
public:
    explicit ResourceIo(std::shared_ptr<QFile> file);
    ~ResourceIo();
    ResourceIo(const ResourceIo&) = delete;
    ResourceIo& operator=(const ResourceIo&) = delete;

    /// Null when there was no memory for it.
    AVIOContext* context() const { return mContext; }

private:
    std::shared_ptr<QFile> mFile;
    AVIOContext* mContext;
};

/// A handle on the same context that also keeps what it reads from, and lets go of it after the context.
QSharedPointer<AVFormatContext> bindIo(QSharedPointer<AVFormatContext> context,
                                       std::unique_ptr<ResourceIo> resourceIo);

} // namespace Vantor
