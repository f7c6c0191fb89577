#pragma once

#include <QMap>
#include <QMutex>
#include <QSharedPointer>
#include <QString>

#include "demux/VobChapter.h"

namespace Vantor {

/// Finds the chapters of files and remembers them, by path, as long as the process lives: a file that changes
/// keeps its old ones. The one scanner is made on first use and may be used by any threads at once; two that
/// ask for the same new path both scan it.
class VobChapterScanner
{
public:
    static VobChapterScanner& instance();

    /// The file's chapters; null when it cannot be opened or has no packets. Reads the whole file unless it
    /// is known.
    QSharedPointer<const VobChapterList> chapters(const QString& path);

private:
    VobChapterScanner() = default;

    QMutex mMutex;
    QMap<QString, QSharedPointer<const VobChapterList>> mKnown;
};

} // namespace Vantor
