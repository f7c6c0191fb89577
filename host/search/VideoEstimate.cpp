#include "host/search/VideoEstimate.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <utility>

#include "host/search/SamplePlan.h"

using namespace Qt::StringLiterals;

namespace {

// A single piece says less than the video's beginning, which needs no cut.
constexpr qsizetype kLeastPieces = 2;
constexpr qint64 kMinuteMs = 60000;

} // namespace

VideoEstimate::VideoEstimate(const EncodeRequest& request, MakeRun makeRun, NewPath newPath)
    : mRequest(request), mMakeRun(std::move(makeRun)), mNewPath(std::move(newPath))
{
    mRequest.isSample = true;
    connect(&mTool, &ToolRun::ended, this, [this](const ToolResult& result) { (this->*mAnswer)(result); });
}

VideoEstimate::~VideoEstimate()
{
    mRun.reset();
    removeFiles();
}

void VideoEstimate::start()
{
    run(videoProbe(mRequest.inputPath), &VideoEstimate::onSource);
}

// What runs beside the module takes a moment at most, and is waited for.
void VideoEstimate::stop()
{
    if (std::exchange(mStopping, true) || mEnded)
        return;
    if (mRun)
        mRun->stop();
}

void VideoEstimate::run(const ToolCall& call, Answer answer)
{
    mAnswer = answer;
    mTool.start(call);
}

void VideoEstimate::onSource(const ToolResult& answer)
{
    const VideoFacts source = videoFactsIn(answer);
    mWhole.sourceBytes = QFileInfo(mRequest.inputPath).size();
    mWhole.ms = source.lengthMs;
    mWhole.soundCount = int(std::ranges::count(source.streams, StreamFacts::Audio, &StreamFacts::type));
    mBeginnings = sampleBeginnings(mWhole.ms);
    mPieceCount = mBeginnings.size();
    nextPiece();
}

void VideoEstimate::nextPiece()
{
    if (mStopping)
        return end({FailureKind::Interrupted});
    removeFiles();
    if (!mBeginnings.isEmpty()) {
        mPiecePath = mNewPath(kPieceSuffix);
        return run(sampleCut(mRequest.inputPath, mBeginnings.takeFirst(), mPiecePath), &VideoEstimate::onCut);
    }
    if (mOutcome.samples.size() < kLeastPieces)
        return encode(mRequest.inputPath);
    mOutcome.range = estimateRange(mOutcome.samples, mWhole, mRequest.isPercentage);
    end();
}

void VideoEstimate::onCut(const ToolResult& cut)
{
    if (cut.isSuccess() && !mStopping)
        run(videoProbe(mPiecePath), &VideoEstimate::onPiece);
    else
        nextPiece();
}

void VideoEstimate::onPiece(const ToolResult& answer)
{
    mPieceMs = videoFactsIn(answer).lengthMs;
    if (mStopping || mPieceMs <= 0)
        return nextPiece();
    encode(mPiecePath);
}

void VideoEstimate::encode(const QString& inputPath)
{
    EncodeRequest request = mRequest;
    request.inputPath = inputPath;
    request.outputPath = mSamplePath = mNewPath(QFileInfo(mRequest.outputPath).suffix());
    if (request.isPercentage && !mPiecePath.isEmpty())
        request.quality = QString::number(
            piecePercentage(mRequest.quality.toDouble(), mWhole, QFileInfo(mPiecePath).size(), mPieceMs), 'f',
            3);
    mRun = mMakeRun(request);
    connect(mRun.get(), &ModuleRun::progressed, this, [this](float progress) {
        const auto count = float(qMax<qsizetype>(mPieceCount, 1));
        const auto done = float(qMax<qsizetype>(mPieceCount - mBeginnings.size() - 1, 0));
        emit progressed((done + progress) / count);
    });
    connect(mRun.get(), &ModuleRun::ended, this, &VideoEstimate::onEncoded);
    mRun->start();
}

void VideoEstimate::onEncoded(const Failure& failure)
{
    mRun.release()->deleteLater();
    if (mStopping)
        return end({FailureKind::Interrupted});
    if (!failure)
        return run(videoProbe(mSamplePath), &VideoEstimate::onSample);
    // A piece that cannot be encoded is one less. Anything else than an exit code is no answer of the
    // encoder's.
    if (mPiecePath.isEmpty() || failure.code <= 0)
        return end(failure);
    nextPiece();
}

void VideoEstimate::onSample(const ToolResult& answer)
{
    const bool isPiece = !mPiecePath.isEmpty();
    const SampleMeasure sample{isPiece ? QFileInfo(mPiecePath).size() : 0, isPiece ? mPieceMs : 0,
                               QFileInfo(mSamplePath).size(), videoFactsIn(answer).lengthMs};
    const bool isUsable = sample.resultBytes > 0 && sample.resultMs > 0;
    if (isUsable && isPiece)
        mOutcome.samples.append(sample);
    if (isPiece || mStopping)
        nextPiece();
    else if (isUsable)
        onBeginning(sample);
    else
        end({FailureKind::MeasureFailed, u"its samples hold no video"_s});
}

void VideoEstimate::onBeginning(const SampleMeasure& sample)
{
    mOutcome.samples = {sample};
    const bool isLengthKnown = mWhole.ms > 0;
    if (!isLengthKnown)
        mWhole.ms = kMinuteMs;
    mOutcome.range = estimateRange(mOutcome.samples, mWhole, mRequest.isPercentage);
    if (isLengthKnown)
        return end();
    end({FailureKind::MeasureFailed,
         u"its length is not known; a minute of it becomes %1 to %2 bytes"_s.arg(mOutcome.range.low)
             .arg(mOutcome.range.high)});
}

void VideoEstimate::end(const Failure& failure)
{
    mEnded = true;
    removeFiles();
    mOutcome.failure = failure;
    // Whoever hears it may let the estimate go.
    const EstimateOutcome outcome = mOutcome;
    emit ended(outcome);
}

void VideoEstimate::removeFiles()
{
    for (QString* path : {&mPiecePath, &mSamplePath}) {
        if (!path->isEmpty())
            QFile::remove(std::exchange(*path, {}));
    }
}
