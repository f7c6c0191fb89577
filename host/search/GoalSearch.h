#pragma once

#include <QObject>

#include <memory>
#include <optional>

#include "host/job/SizeGoal.h"
#include "host/module/ModuleRun.h"
#include "host/search/NewPath.h"
#include "host/search/SettingSearch.h"
#include "host/search/SsimProbe.h"

/// A result by what it is to be, instead of by a quality. At least one of the two requests is there. With both,
/// size is the bound: the largest result that is small enough is compared with the source, and is like enough
/// or not.
struct SearchTarget
{
    QString inputPath;
    QString suffix; ///< of the result, without a dot
    QString scale;
    bool isVideo = false;
    int quality = 75;       ///< the first that is tried; not for videos with a size
    bool copyCounts = true; ///< whether the source itself, which the module gives for a larger result, is one
    std::optional<SizeGoal> size;
    std::optional<double> minSsim; ///< above 0, at most 1
};

struct GoalOutcome
{
    enum Kind
    {
        Met,
        NotMet,        ///< there were results, and none is as requested: trials[chosen] is the nearest
        RunFailed,     ///< the module failed: `failure`
        MeasureFailed, ///< result and source could not be compared
        Stopped
    };

    Kind kind = Stopped;
    QString path;        ///< the result, under one of the new paths; only when met
    QList<Trial> trials; ///< in their order
    int chosen = -1;     ///< the trial that became the result, or the nearest
    Failure failure;
};

/// What could be reached instead, in English without a full stop, for an outcome that is NotMet:
/// "the smallest result has 812345 bytes, at quality 0", "the best SSIM is 0.9312, at quality 100".
QString reachedText(const SearchTarget& target, const GoalOutcome& outcome);

/// Encodes, measures and decides until the request is met or cannot be. Letting it go ends what runs, without a
/// signal; results that were not chosen are removed as soon as they lose, the chosen one stays.
class GoalSearch : public QObject
{
    Q_OBJECT

public:
    GoalSearch(const SearchTarget& target, MakeRun makeRun, NewPath newPath);
    ~GoalSearch() override;

    /// To be called once. Ends in exactly one ended(), from the event loop.
    void start();
    /// Ends what runs and removes all results: ended() comes soon, as Stopped.
    void stop();

signals:
    /// A further encode begins: its number, from 1, and how many there may be at most.
    void runBegan(int number, int atMost);
    /// The share of this encode, or of the comparison behind it, 0.0 to 1.0.
    void progressed(float progress);
    void ended(const GoalOutcome& outcome);

private:
    void step();
    void encode(double setting);
    void onEncoded(const Failure& failure);
    void measure(int index, const QString& path);
    void judge();
    void end(GoalOutcome::Kind kind);
    void removeAll();

    /// Lets go what may be telling something just now.
    template <class Object>
    static void retire(std::unique_ptr<Object>& object)
    {
        if (Object* const retired = object.release()) {
            retired->disconnect();
            retired->deleteLater();
        }
    }

    SearchTarget mTarget;
    MakeRun mMakeRun;
    NewPath mNewPath;
    std::unique_ptr<SettingSearch> mSearch;
    std::unique_ptr<ModuleRun> mRun;
    std::unique_ptr<SsimProbe> mProbe;
    GoalOutcome mOutcome;
    double mSetting = 0;
    QString mNewestPath; ///< the last result, until it is judged
    QString mKeptPath;   ///< the best result that fits, of those before
    bool mStopping = false;
    bool mEnded = false;
};
