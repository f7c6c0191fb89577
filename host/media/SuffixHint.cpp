#include "host/media/SuffixHint.h"

#include <QList>

#include <algorithm>
#include <numeric>

namespace {

// The letters to be put in, left out or replaced to get from one text to the other.
int editDistance(const QString& from, const QString& to)
{
    QList<int> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (qsizetype i = 0; i < from.size(); ++i) {
        int diagonal = std::exchange(row[0], int(i) + 1);
        for (qsizetype j = 0; j < to.size(); ++j) {
            const int replaced = diagonal + (from[i] != to[j]);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

// Swapped letters are two edits, and the likeliest slip.
bool isSwapped(const QString& from, const QString& to)
{
    QString a = from;
    QString b = to;
    std::sort(a.begin(), a.end());
    std::sort(b.begin(), b.end());
    return a == b;
}

} // namespace

QString suggestSuffix(const QString& typed, const QStringList& known)
{
    QString best;
    int bestDistance = 2;
    for (const QString& suffix : known) {
        const QString wanted = typed.toLower();
        const int distance = isSwapped(wanted, suffix) ? 0 : editDistance(wanted, suffix);
        // Slips at the first letter are rare, other kinds of files that differ in it are not.
        if (wanted.startsWith(suffix[0]) && distance < bestDistance) {
            best = suffix;
            bestDistance = distance;
        }
    }
    return best;
}
