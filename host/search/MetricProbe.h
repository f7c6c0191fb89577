#pragma once

#include "host/job/Metric.h"
#include "host/media/VideoFacts.h"

/// Compares a result with its source, at the result's size, as one looks at them: turned the right way up,
/// and what is transparent in both on grey. Videos are compared image by image, covers aside. Letting the
/// probe go ends it.
class MetricProbe : public QObject
{
    Q_OBJECT

public:
    /// The paths are absolute; the result's suffix tells how it was encoded.
    MetricProbe(const Metric& metric, const QString& resultPath, const QString& sourcePath, bool isVideo);

signals:
    /// May begin anew once.
    void progressed(float progress);
    /// Once, from the event loop: the mean of all images; -1.0 when the two could not be compared.
    void ended(double value);

private:
    using Answer = void (MetricProbe::*)(const ToolResult&);

    void run(const ToolCall& call, Answer answer);
    void onResultProbed(const ToolResult& answer);
    void onSourceProbed(const ToolResult& answer);
    void compareImages(bool hasAlpha);
    void compareVideos(bool isConstantRate);
    void compare(const QStringList& inputs, const QString& graph, const QStringList& feeder = {});
    void takeLine(const QByteArray& line);
    void onCompared(const ToolResult& compared);

    const Metric mMetric;
    const QString mResultPath;
    const QString mSourcePath;
    const QString mSuffix;
    const bool mIsVideo;
    ToolRun mRun;
    Answer mAnswer = nullptr;
    VideoFacts mResult;
    bool mIsSecond = false;
    double mValue = -1.0; ///< of the first comparison
    double mSum = 0;
    qint64 mImages = 0;
};
