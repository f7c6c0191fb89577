#include "host/EstimateJob.h"

#include <QDir>
#include <QFileInfo>

#include "host/SizePrediction.h"
#include "host/SizeText.h"

namespace {

// Lengths are rounded and frames have their length: less than this is no difference.
constexpr qint64 kSameLengthMs = 200;

} // namespace

QString EstimateJob::prepareOutput()
{
    // The suffix chooses the container.
    mSamplePath =
        QDir::temp().absoluteFilePath(QStringLiteral("sample.") + QFileInfo(options().outputPath).suffix());
    mSourceProbe.emplace(options().inputPath);
    return mSamplePath;
}

void EstimateJob::conclude()
{
    mSampleProbe.emplace(mSamplePath);
    connect(&*mSourceProbe, &LengthProbe::answered, this, &EstimateJob::compare);
    connect(&*mSampleProbe, &LengthProbe::answered, this, &EstimateJob::compare);
    compare();
}

void EstimateJob::compare()
{
    if (!mSourceProbe->hasAnswered() || !mSampleProbe->hasAnswered())
        return;
    const qint64 before = QFileInfo(options().inputPath).size();
    const qint64 sampleBytes = QFileInfo(mSamplePath).size();
    if (sampleBytes == 0 || mSampleProbe->lengthMs() == 0)
        return fail(QStringLiteral("the sample of %1 is no film to judge by").arg(options().inputPath));
    end(kDelivered, QStringLiteral("%1 -> %2: %3 -> %4")
                        .arg(options().inputPath, options().outputPath, sizeText(before),
                             prediction(before, sampleBytes)));
}

QString EstimateJob::prediction(qint64 before, qint64 sampleBytes) const
{
    const qint64 wholeMs = mSourceProbe->lengthMs();
    const qint64 sampleMs = mSampleProbe->lengthMs();
    if (wholeMs == 0) {
        return QStringLiteral("about %1 a minute; the film's length is not known")
            .arg(sizeText(sampleBytes * 60000 / sampleMs));
    }
    if (wholeMs - sampleMs < kSameLengthMs) {
        return QStringLiteral("%1 (%2); the film is not longer than the sample")
            .arg(sizeText(sampleBytes), savingText(before, sampleBytes));
    }
    const SizeRange after = predictSize(sampleBytes, sampleMs, wholeMs, options().isPercentage);
    return QStringLiteral("%1 to %2 expected (%3)")
        .arg(sizeText(after.low), sizeText(after.high), savingRangeText(before, after));
}
