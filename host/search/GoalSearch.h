#pragma once

#include <QObject>

#include <memory>
#include <optional>

#include "host/job/Format.h"
#include "host/job/SizeGoal.h"
#include "host/module/ModuleRun.h"
#include "host/search/MetricProbe.h"
#include "host/search/NewPath.h"
#include "host/search/SettingSearch.h"

/// A result by what it is to be, instead of by a quality. At least one of the two requests is there. With
/// both, size is the bound: the largest result that is small enough is compared with the source, and is like
/// enough or not.
struct SearchTarget
{
    QString inputPath;
    QString suffix;                 ///< of the result, without a dot
    const Format* format = nullptr; ///< the same
    QString scale;
    int quality = 75;       ///< the first that is tried; not for videos with a size
    bool copyCounts = true; ///< whether the source itself, which the module gives for a larger result, is one
    std::optional<SizeGoal> size;
    std::optional<Score> least;
};

struct GoalOutcome
{
    /// None: the result is at `path`. AimUnreached: there were results, and none is as requested.
    Failure failure;
    QString path;        ///< one of the new paths
    QList<Trial> trials; ///< in their order
    int chosen = -1;     ///< the trial that became the result, or the nearest
};

/// Encodes, measures and decides until the request is met or cannot be. Letting it go ends what runs, without
/// a signal; results that were not chosen are removed as soon as they lose, the chosen one stays.
class GoalSearch : public QObject
{
    Q_OBJECT

public:
    GoalSearch(const SearchTarget& target, MakeRun makeRun, NewPath newPath);
    ~GoalSearch() override;

    /// To be called once. Ends in exactly one ended(), from the event loop.
    void start();
    /// Ends what runs and removes all results: ended() comes soon, as Interrupted.
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
    void end(const Failure& failure = {});
    QString reachedText() const;
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
    std::unique_ptr<MetricProbe> mProbe;
    GoalOutcome mOutcome;
    Failure mRunFailure; ///< of the last run that failed
    double mSetting = 0;
    QString mNewestPath; ///< the last result, until it is judged
    QString mKeptPath;   ///< the best result that fits, of those before
    bool mStopping = false;
    bool mEnded = false;
};
