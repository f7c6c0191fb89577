#pragma once

#include <QObject>

#include <memory>

#include "host/media/FfmpegRun.h"
#include "host/media/MediaGlance.h"
#include "host/module/ModuleRun.h"
#include "host/search/EstimateRange.h"
#include "host/search/NewPath.h"
#include "host/search/SampleCutter.h"

struct EstimateOutcome
{
    enum Kind
    {
        Estimated,
        UnknownLength, ///< `range` is that of a minute
        RunFailed,     ///< the module failed: `failure`
        NoSample,      ///< there is no video to judge by
        Stopped
    };

    Kind kind = Stopped;
    EstimatedSize range{0, 0};
    QList<SampleMeasure> samples; ///< what it rests on
    Failure failure;
};

/// How large a video would become: samples of it are encoded, and removed. A source that
/// cannot be cut is judged by its beginning. Letting it go ends what runs, without a signal.
class VideoEstimate : public QObject
{
    Q_OBJECT

public:
    /// `request` is the whole job's; its output path tells no more than the suffix.
    VideoEstimate(const EncodeRequest& request, MakeRun makeRun, NewPath newPath);
    ~VideoEstimate() override;

    /// To be called once. Ends in exactly one ended(), from the event loop.
    void start();
    /// Ends what runs: ended() comes soon, as Stopped.
    void stop();

signals:
    void progressed(float progress);
    void ended(const EstimateOutcome& outcome);

private:
    using Answer = void (VideoEstimate::*)(const MediaGlance&);

    /// Has ffmpeg describe a file, then goes on with `answer`.
    void glanceAt(const QString& path, Answer answer);
    void onSource(const MediaGlance& source);
    void nextPiece();
    void onPiece(const MediaGlance& piece);
    void encode(const QString& inputPath);
    void onEncoded(const Failure& failure);
    void onSample(const MediaGlance& sample);
    void onBeginning();
    QString percentageFor(const QString& piecePath) const;
    void end(EstimateOutcome::Kind kind);
    void removeFiles();

    EncodeRequest mRequest;
    MakeRun mMakeRun;
    NewPath mNewPath;
    FfmpegRun mGlance;
    Answer mAnswer = nullptr;
    SampleCutter mCutter;
    std::unique_ptr<ModuleRun> mRun;
    WholeVideo mWhole{};
    QList<qint64> mBeginnings; ///< of the pieces still to be cut, in milliseconds
    qsizetype mPieceCount = 0;
    QString mHelpPath;
    QString mPiecePath; ///< empty: the video's own beginning is encoded
    qint64 mPieceMs = 0;
    QString mSamplePath;
    EstimateOutcome mOutcome;
    bool mStopping = false;
    bool mEnded = false;
};
