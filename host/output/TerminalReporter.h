#pragma once

#include <QElapsedTimer>
#include <QTimer>

#include "host/output/TextReporter.h"

/// The plain lines, and below them on a terminal one line a running job and one for the whole, which are gone
/// at the end. Redrawn at most ten times a second; lines that come in between wait for the next time.
class TerminalReporter final : public TextReporter
{
public:
    explicit TerminalReporter(const Options& options);
    ~TerminalReporter() override;

    void planned(qint64 files, qint64 bytes) override;
    void settled(const JobResult& result) override;
    void refused(const QString& text) override;
    void finished(const RunSummary& summary) override;

protected:
    void print(Platform::Channel channel, const QString& line) override;
    /// The block has it.
    void showProgress(Running&) override {}

private:
    void redraw();
    /// Takes the block away, writes what has waited, and shows the new block, if any.
    void draw(const QStringList& lines = {});
    QStringList block(Platform::TerminalSize size) const;
    QString jobLine(const Running& job, int columns) const;
    QString wholeLine(int columns) const;

    QTimer mTimer;
    QElapsedTimer mClock;
    std::vector<std::pair<Platform::Channel, QString>> mPending;
    bool mIsDrawn = false;
    qint64 mBytes = 0;
    qint64 mDoneFiles = 0;
    qint64 mDoneBytes = 0;
    qint64 mSavedBytes = 0;
};
