#include "tests/support/TaskProbe.h"

#include <QTest>

#include "compressor/CompressorEntry.h"

namespace {

constexpr int kLongestRunMs = 60000;
constexpr int kOneTooManyMs = 20;

} // namespace

TaskProbe::TaskProbe(const QVariantMap& params) : mTask(CompressorEntry()->createTask(params))
{
    if (!mTask)
        return;
    // By name, as a host does that sees no meta-object of the library.
    connect(mTask.data(), SIGNAL(compressFinished(int, QString)), SLOT(onCompressFinished(int, QString)));
    connect(mTask.data(), SIGNAL(compressProcess(float)), SLOT(onCompressProcess(float)));
}

TaskProbe::TaskProbe(const QString& inputPath, const QString& outputPath, const QVariant& quality)
    : TaskProbe({{QStringLiteral("inputPath"), inputPath},
                 {QStringLiteral("outputPath"), outputPath},
                 {QStringLiteral("quality"), quality}})
{
}

bool TaskProbe::run()
{
    const qsizetype before = mFinishes.size();
    return mTask->start() && waitForFinishes(before + 1);
}

bool TaskProbe::waitForFinishes(qsizetype count)
{
    const bool reached = QTest::qWaitFor([this, count] { return mFinishes.size() >= count; }, kLongestRunMs);
    QTest::qWait(kOneTooManyMs);
    return reached && mFinishes.size() == count;
}

TaskProbe::Finish TaskProbe::finish() const
{
    return mFinishes.isEmpty() ? Finish(-1, QStringLiteral("none")) : mFinishes.last();
}

void TaskProbe::onCompressFinished(int finishedCode, const QString& errorDescription)
{
    mFinishes.append({finishedCode, errorDescription});
    // The reaction may release this probe's task and set another reaction.
    if (const auto reaction = std::exchange(mReaction, {}))
        reaction();
}
