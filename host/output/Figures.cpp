#include "host/output/Figures.h"

#include <algorithm>

using namespace Qt::StringLiterals;

QString sizeText(qint64 bytes)
{
    static const char* const kUnits[] = {"kB", "MB", "GB", "TB"};
    if (bytes < 1000)
        return u"%1 bytes"_s.arg(bytes);
    double value = double(bytes) / 1000;
    int unit = 0;
    // From 999.5 on, three digits would read "1000".
    for (; value >= 999.5 && unit < 3; ++unit)
        value /= 1000;
    const int decimals = value < 9.995 ? 2 : value < 99.95 ? 1 : 0;
    return QString::number(value, 'f', decimals) + u' ' + QLatin1String(kUnits[unit]);
}

QString rangeText(SizeRange range)
{
    return range.low == range.high ? sizeText(range.low)
                                   : u"%1 to %2"_s.arg(sizeText(range.low), sizeText(range.high));
}

QString savingText(qint64 before, qint64 after)
{
    if (before == after || before <= 0)
        return u"the same size"_s;
    const double share = 100.0 * double(qAbs(before - after)) / double(before);
    const QString percent = QString::number(share, 'f', 1);
    return after < before ? u"saved %1 %"_s.arg(percent) : u"%1 % larger"_s.arg(percent);
}

QString savingText(qint64 before, SizeRange after)
{
    if (after.low == after.high)
        return savingText(before, after.low);
    const auto percentOf = [before](qint64 bytes) { return qRound(100.0 * double(bytes) / double(before)); };
    const int low = percentOf(after.low);
    const int high = percentOf(after.high);
    if (high <= 100)
        return u"saves %1 to %2 %"_s.arg(100 - high).arg(100 - low);
    if (low >= 100)
        return u"%1 to %2 % larger"_s.arg(low - 100).arg(high - 100);
    return u"from %1 % smaller to %2 % larger"_s.arg(100 - low).arg(high - 100);
}

QString timeText(qint64 ms)
{
    const qint64 seconds = (ms + 500) / 1000;
    const auto padded = [](qint64 number) { return u"%1"_s.arg(number, 2, 10, QLatin1Char('0')); };
    if (seconds < 3600)
        return u"%1:%2"_s.arg(seconds / 60).arg(padded(seconds % 60));
    return u"%1:%2:%3"_s.arg(seconds / 3600).arg(padded(seconds / 60 % 60), padded(seconds % 60));
}

QString secondsText(qint64 ms)
{
    return ms < 100'000 ? QString::number(double(ms) / 1000, 'f', 2) + " s"_L1 : timeText(ms);
}

QString progressText(double share, qint64 elapsedMs, qint64 videoMs)
{
    // Before that, speed and time left are guesswork.
    constexpr qint64 kWarmUpMs = 1000;
    const double done = std::clamp(share, 0.0, 1.0);
    QString text = u"%1 %"_s.arg(int(done * 100));
    if (elapsedMs < kWarmUpMs || done <= 0)
        return text;
    if (videoMs > 0)
        text += u", %1x"_s.arg(done * double(videoMs) / double(elapsedMs), 0, 'f', 1);
    if (done < 1)
        text += u", %1 left"_s.arg(timeText(qint64(double(elapsedMs) * (1 - done) / done)));
    return text;
}
