#include "host/ProgressBar.h"

#include <algorithm>

#include "host/Report.h"

namespace {

constexpr qint64 kTerminalPaceMs = 100;
constexpr qint64 kPlainPaceMs = 10000;
// Before that, speed and time left are guesswork.
constexpr qint64 kWarmUpMs = 1000;
constexpr int kBarCells = 30;
// The bar with its text is never longer, and a shorter one covers a longer one.
constexpr int kLineWidth = 78;

QString timeText(qint64 ms)
{
    const qint64 seconds = (ms + 500) / 1000;
    const auto padded = [](qint64 number) {
        return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0'));
    };
    if (seconds < 3600)
        return QStringLiteral("%1:%2").arg(seconds / 60).arg(padded(seconds % 60));
    return QStringLiteral("%1:%2:%3")
        .arg(seconds / 3600)
        .arg(padded(seconds / 60 % 60), padded(seconds % 60));
}

} // namespace

QString progressText(double progress, qint64 elapsedMs, qint64 lengthMs)
{
    const double done = std::clamp(progress, 0.0, 1.0);
    QString text = QStringLiteral("%1 %").arg(int(done * 100));
    if (elapsedMs < kWarmUpMs || done <= 0)
        return text;
    if (lengthMs > 0)
        text += QStringLiteral(", %1x").arg(done * double(lengthMs) / double(elapsedMs), 0, 'f', 1);
    if (done < 1)
        text += QStringLiteral(", %1 left").arg(timeText(qint64(double(elapsedMs) * (1 - done) / done)));
    return text;
}

ProgressBar::ProgressBar(bool isTerminal) : mIsTerminal(isTerminal)
{
    mSinceBegin.start();
    mSinceDrawn.start();
}

void ProgressBar::update(double progress)
{
    const bool isFirst = mIsTerminal && !mIsShown;
    if (!isFirst && mSinceDrawn.elapsed() < (mIsTerminal ? kTerminalPaceMs : kPlainPaceMs))
        return;
    mSinceDrawn.start();
    draw(progress);
}

void ProgressBar::draw(double progress)
{
    const QString text = progressText(progress, mSinceBegin.elapsed(), mLengthMs);
    if (!mIsTerminal)
        return printError(text);
    const int cells = int(std::clamp(progress, 0.0, 1.0) * kBarCells);
    const QString bar = QString(cells, u'#').leftJustified(kBarCells, u'-');
    const QString line = QStringLiteral("[%1] %2").arg(bar, text);
    printProgress(u'\r' + line.leftJustified(kLineWidth, u' ', true));
    mIsShown = true;
}

void ProgressBar::clear()
{
    if (mIsShown)
        printProgress(u'\r' + QString(kLineWidth, u' ') + u'\r');
    mIsShown = false;
}
