#include "host/job/SizeGoal.h"

#include <QRegularExpression>

#include <algorithm>
#include <limits>

std::optional<SizeGoal> SizeGoal::parse(const QString& text)
{
    static const struct
    {
        QLatin1String name;
        double bytes;
    } kUnits[] = {
        {QLatin1String(""), 1},     {QLatin1String("b"), 1},
        {QLatin1String("kb"), 1e3}, {QLatin1String("kib"), 1024.0},
        {QLatin1String("mb"), 1e6}, {QLatin1String("mib"), 1024.0 * 1024},
        {QLatin1String("gb"), 1e9}, {QLatin1String("gib"), 1024.0 * 1024 * 1024},
    };
    static const QRegularExpression kForm(QStringLiteral("^([0-9]{1,15}(?:\\.[0-9]{1,6})?) ?([a-z]*|%)$"));

    const QRegularExpressionMatch match = kForm.match(text.trimmed().toLower());
    SizeGoal goal(match.captured(1).toDouble(), match.captured(2) == QLatin1String("%"));
    if (goal.mIsPercent)
        return goal.mAmount > 0 && goal.mAmount <= 100 ? std::optional(goal) : std::nullopt;
    for (const auto& unit : kUnits) {
        if (match.captured(2) == unit.name) {
            goal.mAmount *= unit.bytes;
            const bool isSize =
                goal.mAmount >= 1 && goal.mAmount < double(std::numeric_limits<qint64>::max());
            return isSize ? std::optional(goal) : std::nullopt;
        }
    }
    return std::nullopt;
}

qint64 SizeGoal::bytesFor(qint64 sourceBytes) const
{
    const double bytes = mIsPercent ? double(sourceBytes) * mAmount / 100 : mAmount;
    return std::min(qint64(bytes), sourceBytes);
}
