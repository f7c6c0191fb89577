#include "host/run/Look.h"

#include <QFile>

#include "host/job/Format.h"
#include "host/media/Losses.h"
#include "host/run/Background.h"

using namespace Qt::StringLiterals;

namespace {

struct Inspection
{
    Failure failure;
    MediaFacts facts;
};

// By its own name: the bytes of it may be none that Qt could carry.
Inspection inspect(const QString& path)
{
    QString reason;
    QFile file;
    const int opened = Platform::openForReading(path, reason);
    if (opened < 0 ||
        !file.open(opened, QIODevice::ReadOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle))
        return {{FailureKind::Unreadable, reason}, {}};
    return {{}, inspectMedia(file)};
}

} // namespace

void Look::start()
{
    inBackground(
        this, [path = spec().inputPath] { return inspect(path); },
        [this](const Inspection& found) {
            mJob.source = found.facts;
            const Failure failure = found.failure ? found.failure : judge();
            if (failure || !spec().format->isVideo())
                return emit ended(failure);
            connect(&mProbe, &ToolRun::ended, this, &Look::onProbed);
            mProbe.start(videoProbe(mJob.files.sourcePath()));
        });
}

Failure Look::judge()
{
    if (Failure failure = unfitFor(mJob.source, *spec().format, options().firstFrame))
        return failure;
    if (mJob.source.damage.isEmpty())
        return {};
    if (!mJob.mayTakeDamaged)
        return {FailureKind::SourceCut, mJob.source.damage};
    mJob.result.warnings.append({u"source-cut"_s, mJob.source.damage});
    return {};
}

void Look::onProbed(const ToolResult& answer)
{
    mJob.sourceVideo = videoFactsIn(answer);
    if (!mJob.sourceVideo.error.isEmpty())
        return emit ended({FailureKind::MeasureFailed, mJob.sourceVideo.error});
    if (!mJob.sourceVideo.videoStream())
        return emit ended({FailureKind::NotMedia, u": there is no video in it"_s});
    emit ended({});
}
