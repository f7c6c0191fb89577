#pragma once

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

#include <vector>

#include "host/system/PlatformFiles.h"

/// Finds outputs that would destroy something, before anything starts: two inputs to one output, and an
/// output that is another's input. Keeps a few bytes for each file: a first pass over all finds the suspects,
/// a second one names them.
class Collisions
{
public:
    /// The first pass. `output` is empty where nothing is delivered.
    void note(const Platform::FileFacts& inputFacts, const QString& output);
    /// Between the passes: whether there are suspects at all.
    bool hasSuspects();
    /// The second pass, over the same files.
    void examine(const QString& input, const Platform::FileFacts& inputFacts, const QString& output);
    /// Sentences, one a collision, at most a screen of them.
    QStringList sentences() const;

private:
    struct Keys
    {
        quint64 place = 0;  ///< of the output's name in its folder, without regard to case
        quint64 input = 0;  ///< of the source itself
        quint64 target = 0; ///< of what lies at the output, 0 when nothing or the source itself does
    };
    Keys keysOf(const Platform::FileFacts& inputFacts, const QString& output);
    quint64 folderKey(const QString& folder);

    std::vector<quint64> mPlaces;
    std::vector<quint64> mInputs;
    std::vector<quint64> mTargets;
    QString mLastFolder;
    quint64 mLastFolderKey = 0;

    QSet<quint64> mSuspectPlaces;
    QSet<quint64> mSuspectFiles;
    struct Named
    {
        QString input;
        QString output;
    };
    QMultiHash<quint64, Named> mByPlace;
    QHash<quint64, QString> mInputNames;
    QHash<quint64, Named> mTargetNames;
};
