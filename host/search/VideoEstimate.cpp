#include "host/search/VideoEstimate.h"

#include <QFile>
#include <QFileInfo>

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
    connect(&mGlance, &FfmpegRun::ended, this, [this](bool, const QByteArray& log) {
        const QList<MediaGlance> inputs = MediaGlance::inputsIn(log);
        (this->*mAnswer)(inputs.value(0));
    });
    connect(&mCutter, &SampleCutter::ended, this, [this](bool isSuccess) {
        if (isSuccess)
            glanceAt(mPiecePath, &VideoEstimate::onPiece);
        else
            nextPiece();
    });
}

VideoEstimate::~VideoEstimate()
{
    mRun.reset();
    removeFiles();
}

void VideoEstimate::start()
{
    glanceAt(mRequest.inputPath, &VideoEstimate::onSource);
}

// What runs beside the module takes a moment at most, and is waited for.
void VideoEstimate::stop()
{
    if (std::exchange(mStopping, true) || mEnded)
        return;
    if (mRun)
        mRun->stop();
}

void VideoEstimate::glanceAt(const QString& path, Answer answer)
{
    mAnswer = answer;
    mGlance.start({u"-i"_s, FfmpegRun::pathArgument(path)});
}

void VideoEstimate::onSource(const MediaGlance& source)
{
    if (mStopping)
        return end(EstimateOutcome::Stopped);
    mWhole.sourceBytes = QFileInfo(mRequest.inputPath).size();
    mWhole.ms = source.durationMs;
    mWhole.soundCount = source.soundCount;
    mBeginnings = sampleBeginnings(mWhole.ms);
    mPieceCount = mBeginnings.size();
    nextPiece();
}

void VideoEstimate::nextPiece()
{
    if (mStopping)
        return end(EstimateOutcome::Stopped);
    removeFiles();
    if (!mBeginnings.isEmpty()) {
        mPiecePath = mNewPath(QLatin1String(SampleCutter::kSuffix));
        mHelpPath = mNewPath(QLatin1String(SampleCutter::kSuffix));
        return mCutter.cut(mRequest.inputPath, mBeginnings.takeFirst(), kSampleMs, mHelpPath, mPiecePath);
    }
    if (mOutcome.samples.size() < kLeastPieces)
        return encode(mRequest.inputPath);
    mOutcome.range = estimateRange(mOutcome.samples, mWhole, mRequest.isPercentage);
    end(EstimateOutcome::Estimated);
}

void VideoEstimate::onPiece(const MediaGlance& piece)
{
    mPieceMs = piece.durationMs;
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
        request.quality = percentageFor(mPiecePath);
    mRun = mMakeRun(request);
    connect(mRun.get(), &ModuleRun::progressed, this, [this](float progress) {
        const auto count = float(qMax<qsizetype>(mPieceCount, 1));
        const auto done = float(qMax<qsizetype>(mPieceCount - mBeginnings.size() - 1, 0));
        emit progressed((done + progress) / count);
    });
    connect(mRun.get(), &ModuleRun::ended, this, &VideoEstimate::onEncoded);
    mRun->start();
}

// The module makes a bitrate of a percentage by the size and length of its input: a piece gets the percentage
// that makes the whole's bitrate.
QString VideoEstimate::percentageFor(const QString& piecePath) const
{
    const double wholeRate = double(mWhole.sourceBytes) / double(mWhole.ms);
    const double pieceRate = double(QFileInfo(piecePath).size()) / double(mPieceMs);
    return QString::number(mRequest.quality.toDouble() * wholeRate / pieceRate, 'f', 3);
}

void VideoEstimate::onEncoded(const Failure& failure)
{
    mRun.release()->deleteLater();
    if (mStopping)
        return end(EstimateOutcome::Stopped);
    if (!failure)
        return glanceAt(mSamplePath, &VideoEstimate::onSample);
    mOutcome.failure = failure;
    // A piece that cannot be encoded is one less. Anything else than an exit code is no answer of the encoder's.
    if (mPiecePath.isEmpty() || failure.code <= 0)
        return end(EstimateOutcome::RunFailed);
    nextPiece();
}

void VideoEstimate::onSample(const MediaGlance& sample)
{
    const qint64 sampleBytes = QFileInfo(mSamplePath).size();
    const bool isUsable = sampleBytes > 0 && sample.durationMs > 0;
    const bool isPiece = !mPiecePath.isEmpty();
    if (isUsable && !mStopping) {
        if (!isPiece)
            mOutcome.samples.clear();
        mOutcome.samples.append({isPiece ? QFileInfo(mPiecePath).size() : 0, isPiece ? mPieceMs : 0,
                                 sampleBytes, sample.durationMs});
        if (!isPiece)
            return onBeginning();
    }
    if (isPiece || mStopping)
        nextPiece();
    else
        end(EstimateOutcome::NoSample);
}

void VideoEstimate::onBeginning()
{
    const bool isLengthKnown = mWhole.ms > 0;
    if (!isLengthKnown)
        mWhole.ms = kMinuteMs;
    mOutcome.range = estimateRange(mOutcome.samples, mWhole, mRequest.isPercentage);
    end(isLengthKnown ? EstimateOutcome::Estimated : EstimateOutcome::UnknownLength);
}

void VideoEstimate::end(EstimateOutcome::Kind kind)
{
    mEnded = true;
    removeFiles();
    mOutcome.kind = kind;
    // Whoever hears it may let the estimate go.
    const EstimateOutcome outcome = mOutcome;
    emit ended(outcome);
}

void VideoEstimate::removeFiles()
{
    for (QString* path : {&mHelpPath, &mPiecePath, &mSamplePath}) {
        if (!path->isEmpty())
            QFile::remove(std::exchange(*path, {}));
    }
}
