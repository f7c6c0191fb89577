#pragma once

#include <QElapsedTimer>
#include <QString>

#include <cstdio>

/// What a user who waits reads, such as "31 %, 2.4x, 0:42 left": the share done, how much faster than it
/// plays a film of `lengthMs` is encoded (0: unknown, and left out), and the time left if it goes on like
/// that.
QString progressText(double progress, qint64 elapsedMs, qint64 lengthMs);

/// Progress on standard error: a bar that moves on a terminal, a line now and then elsewhere.
class ProgressBar
{
public:
    explicit ProgressBar(bool isTerminal);

    void setLengthMs(qint64 lengthMs) { mLengthMs = lengthMs; }
    /// A share from 0.0 to 1.0. Draws as often as it makes sense, however often it is called.
    void update(double progress);
    /// Takes the bar off the terminal, so that other text can follow.
    void clear();

private:
    void draw(double progress);

    bool mIsTerminal;
    bool mIsShown = false;
    qint64 mLengthMs = 0;
    QElapsedTimer mSinceBegin;
    QElapsedTimer mSinceDrawn;
};
