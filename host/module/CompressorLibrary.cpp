#include "host/module/CompressorLibrary.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLibrary>

#include "compressor/CompressorEntry.h"

using namespace Qt::StringLiterals;

namespace {

// As the system searches its own: on Windows the program's folder comes first, and the two lie together
// there.
#ifdef Q_OS_WIN
constexpr const char* kFolders[] = {".", VXC_LIBRARY_FOLDER, "../lib"};
#else
constexpr const char* kFolders[] = {VXC_LIBRARY_FOLDER, "../lib", "."};
#endif

// The name with a version is the one that is installed for programs; the plain one is for development, or
// where all lies in one folder.
constexpr const char* kNames[] = {VXC_LIBRARY_SONAME, VXC_LIBRARY_FILE};

QString fileIn(const QString& folder)
{
    for (const char* name : kNames) {
        QString file = folder + u'/' + QLatin1String(name);
        if (QFile::exists(file))
            return file;
    }
    return {};
}

} // namespace

CompressorLibrary CompressorLibrary::load()
{
    CompressorLibrary loaded;
    QStringList places;
    for (const char* folder : kFolders) {
        places.append(QDir::cleanPath(QCoreApplication::applicationDirPath() + u'/' + QLatin1String(folder)));
        loaded.path = fileIn(places.constLast());
        if (loaded.path.isEmpty())
            continue;
        QLibrary library(loaded.path);
        const auto entry = reinterpret_cast<CompressorEntryFunction>(library.resolve("CompressorEntry"));
        if (entry) {
            loaded.compressor = entry();
            return loaded;
        }
        loaded.error = library.errorString();
#ifdef Q_OS_WIN
        // Windows names the library that it was asked for, also where another is the missing one.
        loaded.error += u" (is a library missing that it needs, such as avformat?)"_s;
#endif
        return loaded;
    }
    places.removeDuplicates();
    loaded.error = u"there is no %1 in %2"_s.arg(QLatin1String(VXC_LIBRARY_FILE), places.join(" or "_L1));
    return loaded;
}
