#include "host/media/SuffixHint.h"

#include <algorithm>

namespace {

// One character is put in, left out or replaced.
bool isSlip(const QString& typed, const QString& meant)
{
    const auto [shorter, longer] = std::minmax({typed.size(), meant.size()});
    const auto head = std::mismatch(typed.begin(), typed.end(), meant.begin(), meant.end()).first;
    const auto tail = std::mismatch(typed.rbegin(), typed.rend(), meant.rbegin(), meant.rend()).first;
    const qsizetype same = (head - typed.begin()) + (tail - typed.rbegin());
    return longer - std::min(same, shorter) <= 1;
}

} // namespace

QString suggestSuffix(const QString& typed, const QStringList& known)
{
    const QString wanted = typed.toLower();
    const auto found = std::find_if(known.begin(), known.end(), [&wanted](const QString& suffix) {
        const bool isSwapped =
            std::is_permutation(wanted.begin(), wanted.end(), suffix.begin(), suffix.end());
        // Slips at the first character are rare, other kinds of files that differ in it are not.
        return wanted.startsWith(suffix[0]) && (isSwapped || isSlip(wanted, suffix));
    });
    return found != known.end() ? *found : QString();
}
