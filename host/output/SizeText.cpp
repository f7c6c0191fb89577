#include "host/output/SizeText.h"

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

QString savingText(qint64 before, qint64 after)
{
    if (before == after || before <= 0)
        return u"the same size"_s;
    const double share = 100.0 * double(qAbs(before - after)) / double(before);
    const QString percent = QString::number(share, 'f', 1);
    return after < before ? u"saved %1 %"_s.arg(percent) : u"%1 % larger"_s.arg(percent);
}
