#include "host/CompressorLibrary.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibrary>

#include "compressor/CompressorEntry.h"

ICompressor* CompressorLibrary::load()
{
    // As installed on Unix and as built; as installed on Windows, or carried about in one folder.
    for (const char* folder : {VXC_LIBRARY_FOLDER, "../lib", "."}) {
        const QString path = QCoreApplication::applicationDirPath() + u'/' + QLatin1String(folder) +
                             QStringLiteral("/VxCompressor");
        QLibrary library(QDir::cleanPath(path));
        const auto entry = reinterpret_cast<CompressorEntryFunction>(library.resolve("CompressorEntry"));
        if (entry)
            return entry();
        // The first place is the right one for an installation: its error is the one to tell.
        if (mError.isEmpty())
            mError = library.errorString();
    }
    return nullptr;
}
