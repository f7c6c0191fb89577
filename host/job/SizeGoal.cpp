#include "host/job/SizeGoal.h"

#include <QRegularExpression>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

std::optional<SizeGoal> SizeGoal::parse(const QString& text)
{
    static const struct
    {
        QLatin1String name;
        double bytes;
    } kUnits[] = {
        {""_L1, 1},     {"b"_L1, 1},
        {"kb"_L1, 1e3}, {"kib"_L1, 1024.0},
        {"mb"_L1, 1e6}, {"mib"_L1, 1024.0 * 1024},
        {"gb"_L1, 1e9}, {"gib"_L1, 1024.0 * 1024 * 1024},
    };
    static const QRegularExpression kForm(u"^([0-9]{1,15}(?:\\.[0-9]{1,6})?) ?([a-z]*|%)$"_s);

    const QRegularExpressionMatch match = kForm.match(text.trimmed().toLower());
    SizeGoal goal(match.captured(1).toDouble(), match.captured(2) == "%"_L1);
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
