#pragma once

#include <chrono>

#include "host/media/ToolRun.h"
#include "host/media/VideoFacts.h"

/// Asks the ffprobe beside the host what is in a file: a process of some 50 ms, beside whatever else goes on.
///
/// Exactly one answered() comes, from the event loop, whatever happens; whoever hears it may let the probe go,
/// which before that ends the process.
class VideoProbe : public QObject
{
    Q_OBJECT

public:
    enum class Content
    {
        Video,
        Image ///< whatever its name; ffprobe would take a percent sign for a pattern
    };

    explicit VideoProbe(const QString& path, Content content = Content::Video);

    /// Set when answered() comes; a failure is its `error`.
    const VideoFacts& facts() const { return mFacts; }

signals:
    void answered();

private:
    ToolRun mRun;
    VideoFacts mFacts;
};
