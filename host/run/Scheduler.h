#pragma once

#include <QObject>

#include <deque>
#include <map>

#include "host/job/JobEvents.h"
#include "host/plan/Plan.h"
#include "host/run/Job.h"
#include "host/run/Slots.h"

/// Runs the jobs of a plan side by side and tells of them, their ends in the order of the inputs. Holds a
/// bounded part of the plan at a time, however long it is.
class Scheduler : public QObject
{
    Q_OBJECT

public:
    Scheduler(const JobContext& context, Plan& plan, JobEvents& events, Slots freeSlots);
    ~Scheduler() override;

    void start();
    /// Ends the running jobs and begins no other.
    void stop();
    /// Lets everything go at once, without a further event.
    void abandon() { mRunning.clear(); }

    const RunSummary& summary() const { return mSummary; }
    /// The first failure that says that the installation is not whole, if any.
    bool hasMissed() const { return mHasMissed; }
    /// Whether nothing was begun, since the only input or its output cannot be used.
    bool isRefused() const { return mIsRefused; }

signals:
    /// All that was begun has ended.
    void done();

private:
    void fill();
    bool startNext();
    void run(const JobSpec& spec);
    void onEnded(Job* job, const JobResult& result);
    void settle(const JobResult& result);
    void tellWaiting();
    void count(const JobResult& result);

    const JobContext& mContext;
    Plan& mPlan;
    JobEvents& mEvents;
    Slots mSlots;
    std::deque<PlannedJob> mQueue;
    bool mPlanIsDone = false;
    bool mStopping = false;
    bool mIsFillPosted = false;
    std::map<qint64, std::unique_ptr<Job>> mRunning;
    std::map<qint64, JobResult> mWaiting; ///< ended before an earlier input
    qint64 mNextToTell = 0;
    RunSummary mSummary;
    bool mHasMissed = false;
    bool mIsRefused = false;
};
