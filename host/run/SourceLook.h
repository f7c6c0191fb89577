#pragma once

#include <QObject>

#include <memory>

#include "host/job/JobResult.h"
#include "host/media/MediaFacts.h"
#include "host/media/VideoFacts.h"

class VideoProbe;
struct Options;

/// What a job has to know of its source before the module sees it.
struct SourceView
{
    Failure failure; ///< none: the source can be encoded
    MediaFacts facts;
    VideoFacts video; ///< for MediaKind::Video
    QList<Warning> warnings;
};

/// Looks into a source: whether it is what the output's encoder takes, and whole. Nothing but the file's own
/// content decides.
///
/// Lives in the main thread and does its reading elsewhere. start() ends in exactly one ended(), from the
/// event loop; letting it go ends the look without a signal.
class SourceLook : public QObject
{
    Q_OBJECT

public:
    SourceLook(const Options& options, const JobSpec& spec, const QString& plainPath, bool mayTakeDamaged);
    ~SourceLook() override;

    void start();

signals:
    void ended(const SourceView& view);

private:
    void onInspected(const SourceView& view);
    void onProbed();
    void end(const Failure& failure);

    const Options& mOptions;
    const JobSpec mSpec;
    const QString mPlainPath; ///< that every tool can carry
    const bool mMayTakeDamaged;
    SourceView mView;
    std::unique_ptr<VideoProbe> mProbe;
};
