#pragma once

#include <QObject>

#include <memory>

#include "host/media/VideoFacts.h"
#include "host/module/ModuleRun.h"
#include "host/search/EstimateRange.h"
#include "host/search/NewPath.h"

struct EstimateOutcome
{
    Failure failure; ///< none: `range` is known
    SizeRange range;
    QList<SampleMeasure> samples; ///< what it rests on
};

/// How large a video would become: samples of it are encoded, and removed. A source that cannot be cut is
/// judged by its beginning. Letting it go ends what runs, without a signal.
class VideoEstimate : public QObject
{
    Q_OBJECT

public:
    /// `request` is the whole job's; its output path tells no more than the suffix.
    VideoEstimate(const EncodeRequest& request, MakeRun makeRun, NewPath newPath);
    ~VideoEstimate() override;

    /// To be called once. Ends in exactly one ended(), from the event loop.
    void start();
    /// Ends what runs: ended() comes soon, as Interrupted.
    void stop();

signals:
    void progressed(float progress);
    void ended(const EstimateOutcome& outcome);

private:
    using Answer = void (VideoEstimate::*)(const ToolResult&);

    void run(const ToolCall& call, Answer answer);
    void onSource(const ToolResult& answer);
    void nextPiece();
    void onCut(const ToolResult& cut);
    void onPiece(const ToolResult& answer);
    void encode(const QString& inputPath);
    void onEncoded(const Failure& failure);
    void onSample(const ToolResult& answer);
    void onBeginning(const SampleMeasure& sample);
    void end(const Failure& failure = {});
    void removeFiles();

    EncodeRequest mRequest;
    MakeRun mMakeRun;
    NewPath mNewPath;
    ToolRun mTool;
    Answer mAnswer = nullptr;
    std::unique_ptr<ModuleRun> mRun;
    WholeVideo mWhole{};
    QList<qint64> mBeginnings; ///< of the pieces still to be cut, in milliseconds
    qsizetype mPieceCount = 0;
    QString mPiecePath; ///< empty: the video's own beginning is encoded
    qint64 mPieceMs = 0;
    QString mSamplePath;
    EstimateOutcome mOutcome;
    bool mStopping = false;
    bool mEnded = false;
};
