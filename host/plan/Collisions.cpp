#include "host/plan/Collisions.h"

#include <algorithm>

#include "host/system/NativePath.h"
#include "host/system/PathText.h"
#include "host/system/PrivateFolder.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMaxSentences = 10;

quint64 keyOf(const QString& text, quint64 seed)
{
    return qHash(text, size_t(seed));
}

quint64 keyOf(const Platform::FileFacts& facts)
{
    return qHashMulti(1, facts.device, facts.number);
}

// Asked of the file system itself: whatever it is, it knows best.
bool ignoresCase(QString folder)
{
    while (!Platform::factsOf(folder) && folder != NativePath::folder(folder))
        folder = NativePath::folder(folder);
    const PrivateFolder probe(folder, PrivateFolder::kBesideOutput);
    const QString name = NativePath::fileName(probe.path());
    return probe.isValid() && Platform::factsOf(NativePath::join(folder, name.toUpper())) &&
           Platform::factsOf(NativePath::join(folder, name.toLower()));
}

} // namespace

// One folder may be reached by several paths: it counts as itself. What is not there yet counts by its name
// below the nearest that is.
quint64 Collisions::folderKey(const QString& folder)
{
    if (folder == mLastFolder)
        return mLastFolderKey;
    quint64 key = 0;
    const auto facts = Platform::factsOf(folder);
    const QString above = NativePath::folder(folder);
    if (facts)
        key = keyOf(*facts);
    else if (above != folder)
        key = keyOf(NativePath::fileName(folder).toCaseFolded(), folderKey(above));
    mLastFolder = folder;
    mLastFolderKey = key;
    return key;
}

Collisions::Keys Collisions::keysOf(const Platform::FileFacts& inputFacts, const QString& output)
{
    Keys keys;
    keys.input = keyOf(inputFacts);
    const QString place = Platform::finalPath(output);
    keys.place = keyOf(NativePath::fileName(place).toCaseFolded(), folderKey(NativePath::folder(place)));
    const auto target = Platform::factsOf(place);
    if (target && !target->isSameFile(inputFacts))
        keys.target = keyOf(*target);
    return keys;
}

void Collisions::note(const Platform::FileFacts& inputFacts, const QString& output)
{
    const Keys keys = keysOf(inputFacts, output);
    mPlaces.push_back(keys.place);
    mInputs.push_back(keys.input);
    if (keys.target)
        mTargets.push_back(keys.target);
}

bool Collisions::hasSuspects()
{
    for (std::vector<quint64>* keys : {&mPlaces, &mInputs, &mTargets})
        std::sort(keys->begin(), keys->end());
    for (size_t at = 1; at < mPlaces.size(); ++at) {
        if (mPlaces[at] == mPlaces[at - 1])
            mSuspectPlaces.insert(mPlaces[at]);
    }
    for (const quint64 key : mTargets) {
        if (std::binary_search(mInputs.begin(), mInputs.end(), key))
            mSuspectFiles.insert(key);
    }
    return !mSuspectPlaces.isEmpty() || !mSuspectFiles.isEmpty();
}

void Collisions::examine(const QString& input, const Platform::FileFacts& inputFacts, const QString& output)
{
    const Keys keys = keysOf(inputFacts, output);
    if (mSuspectPlaces.contains(keys.place) && mByPlace.count(keys.place) < kMaxSentences)
        mByPlace.insert(keys.place, {input, output});
    if (mSuspectFiles.contains(keys.input))
        mInputNames.insert(keys.input, input);
    if (mSuspectFiles.contains(keys.target))
        mTargetNames.insert(keys.target, {input, output});
}

QStringList Collisions::sentences() const
{
    QStringList sentences;
    for (const quint64 place : mByPlace.uniqueKeys()) {
        const QList<Named> group = mByPlace.values(place);
        for (qsizetype at = 1; at < group.size() && sentences.size() < kMaxSentences; ++at) {
            // The values come newest first.
            const Named& one = group.at(at);
            const Named& other = group.at(at - 1);
            const QString name = NativePath::fileName(Platform::finalPath(one.output));
            const bool areEqual = name == NativePath::fileName(Platform::finalPath(other.output));
            if (one.input == other.input) {
                sentences.append(u"%1 is given twice"_s.arg(shown(one.input)));
            } else if (areEqual) {
                sentences.append(u"%1 and %2 would both become %3"_s.arg(shown(one.input), shown(other.input),
                                                                         shown(one.output)));
            } else if (ignoresCase(NativePath::folder(Platform::finalPath(one.output)))) {
                sentences.append(
                    u"%1 and %2 would become %3 and %4, which are the same name on that file system"_s.arg(
                        shown(one.input), shown(other.input), shown(one.output), shown(other.output)));
            }
        }
    }
    for (auto it = mTargetNames.begin(); it != mTargetNames.end() && sentences.size() < kMaxSentences; ++it) {
        if (mInputNames.contains(it.key()))
            sentences.append(
                u"%1 would become %2, which is an input too"_s.arg(shown(it->input), shown(it->output)));
    }
    return sentences;
}
