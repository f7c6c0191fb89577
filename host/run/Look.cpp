#include "host/run/Look.h"

#include <QFile>

#include "host/job/Format.h"
#include "host/job/Options.h"
#include "host/media/Losses.h"
#include "host/run/Background.h"

using namespace Qt::StringLiterals;

namespace {

// By its own name: the bytes of it may be none that Qt could carry.
LookResult inspect(const QString& path)
{
    LookResult result;
    QString reason;
    QFile file;
    const int opened = Platform::openForReading(path, reason);
    if (opened < 0 ||
        !file.open(opened, QIODevice::ReadOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle))
        result.failure = {FailureKind::Unreadable, reason};
    else
        result.facts = inspectMedia(file);
    return result;
}

} // namespace

Look::Look(const Options& options, const JobFiles& files, bool mayTakeDamaged)
    : mOptions(options), mFiles(files), mMayTakeDamaged(mayTakeDamaged)
{
}

Look::~Look() = default;

void Look::start()
{
    inBackground(
        this, [path = mFiles.spec().inputPath] { return inspect(path); },
        [this](const LookResult& result) {
            mResult = result;
            onInspected();
        });
}

void Look::onInspected()
{
    if (mResult.failure)
        return end(mResult.failure);
    const Format& format = *mFiles.spec().format;
    if (const Failure failure = unfitFor(mResult.facts, format, mOptions.firstFrame))
        return end(failure);
    if (!mResult.facts.damage.isEmpty()) {
        if (!mMayTakeDamaged)
            return end({FailureKind::SourceCut, mResult.facts.damage});
        mResult.warnings.append({u"source-cut"_s, mResult.facts.damage});
    }
    if (!format.isVideo())
        return end({});
    connect(&mProbe, &ToolRun::ended, this, &Look::onProbed);
    mProbe.start(videoProbe(mFiles.sourcePath()));
}

void Look::onProbed(const ToolResult& answer)
{
    mResult.video = videoFactsIn(answer);
    if (!mResult.video.error.isEmpty())
        return end({FailureKind::MeasureFailed, mResult.video.error});
    if (!mResult.video.videoStream())
        return end({FailureKind::NotMedia, u": there is no video in it"_s});
    end({});
}

void Look::end(const Failure& failure)
{
    mResult.failure = failure;
    emit ended(mResult);
}
