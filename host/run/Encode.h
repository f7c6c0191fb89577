#pragma once

#include <QObject>

#include "host/job/JobResult.h"
#include "host/module/ModuleRun.h"

struct Options;
class PrivateFolder;

/// What an encode may use. All of it outlives the encode.
struct EncodeContext
{
    const MakeRun& makeRun;
    const Options& options;
    JobSpec spec;
    QString sourcePath; ///< a path of the source that Qt and every tool can carry: use this one
    QString resultPath; ///< where the result has to lie in the end; no file is there yet
    /// For further files: folder.newPath("mp4") gives names that are cleaned up in any case.
    PrivateFolder& folder;
    qint64 videoMs = 0; ///< the source's length, 0 where it is not known
};

/// What came of an encode.
struct EncodeEnd
{
    Failure failure; ///< none: the result is at the context's resultPath, or `estimate` is set
    int runs = 0;
    std::optional<int> quality;
    std::optional<double> ssim;
    std::optional<SizeRange> estimate;
    QList<Warning> warnings;
};

/// The middle of a job: from a source to a result in a private folder. One run of the module's task as a
/// rule; a search makes several, an estimate makes samples.
///
/// Lives in the main thread and never blocks it. Every start() ends in exactly one ended(), from the event
/// loop; after stop() soon, and whatever its content it then counts as interrupted. Letting it go ends what
/// runs.
class Encode : public QObject
{
    Q_OBJECT

public:
    explicit Encode(const EncodeContext& context) : mContext(context) {}

    virtual void start() = 0;
    virtual void stop() = 0;

signals:
    /// 0.0 to 1.0 of the whole encode.
    void progressed(double share);
    void ended(const EncodeEnd& end);

protected:
    const EncodeContext& context() const { return mContext; }

    /// A request for the context's source and result, with the options' scale and the given quality.
    EncodeRequest request(int quality) const;

private:
    EncodeContext mContext;
};
