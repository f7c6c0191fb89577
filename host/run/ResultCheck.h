#pragma once

#include <QObject>

#include <memory>

#include "host/run/SourceLook.h"

class ToolRun;
struct ToolResult;

/// What came of an encode, by its own content.
struct ResultView
{
    Failure failure; ///< none: the result is whole and of its kind
    QList<Warning> warnings;
};

/// Looks into a finished result before it may take its place: whether it is whole, as long as its source, and
/// what it has lost. With --keep-metadata it first puts the source's into it.
///
/// Touches the result and files of its own beside it, and nothing else. Lives in the main thread and does its
/// work elsewhere. start() ends in exactly one ended(), from the event loop; letting it go ends the check
/// without a signal.
class ResultCheck : public QObject
{
    Q_OBJECT

public:
    struct Files
    {
        QString source; ///< both are paths that every tool can carry
        QString result;
    };

    ResultCheck(const Options& options, const JobSpec& spec, SourceView source, Files files,
                bool mayTakeDamaged);
    ~ResultCheck() override;

    void start();

signals:
    void ended(const ResultView& view);

private:
    void checkImage();
    void probeVideo();
    void onProbed();
    void restoreVideoMetadata(const VideoFacts& result);
    void onRestored(const ToolResult& restored);
    void end(const Failure& failure);

    const Options& mOptions;
    const JobSpec mSpec;
    const SourceView mSource;
    const Files mFiles;
    const bool mMayTakeDamaged;
    ResultView mView;
    std::unique_ptr<VideoProbe> mProbe;
    std::unique_ptr<ToolRun> mRestore;
    QString mRestoredPath;
    bool mIsRestored = false;
};
