#pragma once

#include <QObject>

#include "host/media/MediaFacts.h"
#include "host/media/VideoFacts.h"
#include "host/run/JobFiles.h"

struct Options;

/// What a job has to know of its source before the module sees it.
struct LookResult
{
    Failure failure; ///< none: the source can be encoded
    MediaFacts facts;
    VideoFacts video; ///< for MediaKind::Video
    QList<Warning> warnings;
};

/// A job's first stage: whether the source is what the output's encoder takes, and whole. Nothing but the
/// file's own content decides.
///
/// Lives in the main thread and does its reading elsewhere. start() ends in exactly one ended(), from the
/// event loop; deleting it ends the look without a signal.
class Look : public QObject
{
    Q_OBJECT

public:
    Look(const Options& options, const JobFiles& files, bool mayTakeDamaged);
    ~Look() override;

    void start();

signals:
    void ended(const LookResult& result);

private:
    void onInspected();
    void onProbed(const ToolResult& answer);
    void end(const Failure& failure);

    const Options& mOptions;
    const JobFiles& mFiles;
    const bool mMayTakeDamaged;
    LookResult mResult;
    ToolRun mProbe;
};
