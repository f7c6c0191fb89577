#include "host/run/SourceLook.h"

#include <QFile>

#include "host/job/Format.h"
#include "host/job/Options.h"
#include "host/media/Losses.h"
#include "host/media/VideoProbe.h"
#include "host/run/Background.h"
#include "host/system/PlatformFiles.h"

using namespace Qt::StringLiterals;

namespace {

// By its own name: the bytes of it may be none that Qt could carry.
SourceView inspect(const QString& path)
{
    SourceView view;
    QString reason;
    QFile file;
    const int opened = Platform::openForReading(path, reason);
    if (opened < 0 ||
        !file.open(opened, QIODevice::ReadOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle))
        view.failure = {FailureKind::Unreadable, reason};
    else
        view.facts = inspectMedia(file);
    return view;
}

} // namespace

SourceLook::SourceLook(const Options& options, const JobSpec& spec, const QString& plainPath,
                       bool mayTakeDamaged)
    : mOptions(options), mSpec(spec), mPlainPath(plainPath), mMayTakeDamaged(mayTakeDamaged)
{
}

SourceLook::~SourceLook() = default;

void SourceLook::start()
{
    inBackground(
        this, [path = mSpec.inputPath] { return inspect(path); },
        [this](const SourceView& view) { onInspected(view); });
}

void SourceLook::onInspected(const SourceView& view)
{
    mView = view;
    if (mView.failure)
        return end(mView.failure);
    if (const Failure failure = unfitFor(mView.facts, *mSpec.format, mOptions.firstFrame))
        return end(failure);
    if (!mView.facts.damage.isEmpty()) {
        if (!mMayTakeDamaged)
            return end({FailureKind::SourceCut, mView.facts.damage});
        mView.warnings.append({u"source-cut"_s, mView.facts.damage});
    }
    if (!mSpec.format->isVideo())
        return end({});
    mProbe = std::make_unique<VideoProbe>(mPlainPath);
    connect(mProbe.get(), &VideoProbe::answered, this, &SourceLook::onProbed);
}

void SourceLook::onProbed()
{
    mView.video = mProbe->facts();
    if (!mView.video.error.isEmpty())
        return end({FailureKind::MeasureFailed, mView.video.error});
    if (!mView.video.videoStream())
        return end({FailureKind::NotMedia, u": there is no video in it"_s});
    end({});
}

void SourceLook::end(const Failure& failure)
{
    mView.failure = failure;
    // Whoever hears it may let the look go.
    const SourceView view = mView;
    emit ended(view);
}
