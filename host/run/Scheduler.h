#pragma once

#include <QObject>

#include <deque>
#include <map>

#include "host/plan/Plan.h"
#include "host/run/Job.h"
#include "host/run/Slots.h"

/// Runs the jobs of a plan side by side and reports them, their ends in the order of the inputs. Holds a
/// bounded part of the plan at a time, however long it is.
class Scheduler : public QObject
{
    Q_OBJECT

public:
    Scheduler(const JobContext& context, Plan& plan);

    /// Begins as many jobs as there is room for, now and whenever one has ended.
    void start();
    /// Ends the running jobs and begins no other.
    void stop();

    /// What has been done so far, with the status that a run has that ends so; without its time.
    const RunSummary& summary() const { return mSummary; }

signals:
    /// All that was begun has ended.
    void done();

private:
    void startLater();
    bool startNext();
    void run(const JobSpec& spec);
    void onEnded(Job* job, const JobResult& result);
    void settle(const JobResult& result);
    void reportWaiting();
    void count(const JobResult& result);

    const JobContext& mContext;
    Plan& mPlan;
    Slots mSlots;
    std::deque<PlannedJob> mQueue;
    bool mPlanIsDone = false;
    bool mIsStopping = false;
    bool mIsStartPosted = false;
    std::map<qint64, std::unique_ptr<Job>> mRunning;
    std::map<qint64, JobResult> mWaiting; ///< ended before an earlier input
    qint64 mNextToReport = 0;
    RunSummary mSummary;
};
