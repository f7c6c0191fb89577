#pragma once

#include <QObject>
#include <QProcess>
#include <QTimer>

#include <chrono>

#include "host/media/VideoFacts.h"

/// Asks the ffprobe beside the host what is in a video: a process of some 50 ms, beside whatever else goes on.
///
/// Lives in one thread, with an event loop. Exactly one answered() comes, from the event loop, whatever
/// happens; letting the probe go ends the process, without a signal. The process also ends with the host, on
/// Linux with the thread that made the probe.
class VideoProbe : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds kTimeLimit = std::chrono::seconds(30);

    explicit VideoProbe(const QString& path, std::chrono::milliseconds timeLimit = kTimeLimit);
    ~VideoProbe() override;

    /// Set when answered() comes; a failure is its `error`.
    const VideoFacts& facts() const { return mFacts; }

signals:
    void answered();

private:
    void collect();
    void fail(const QString& error);
    void onFinished(int exitCode, QProcess::ExitStatus status);
    void answer(const VideoFacts& facts);

    QProcess mProcess;
    QTimer mTimer;
    QByteArray mJson;
    QByteArray mLog;
    VideoFacts mFacts;
    bool mIsAnswered = false;
};
