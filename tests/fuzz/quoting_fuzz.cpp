// A command of as many paths as the input has lines: the system's splitting gives each back as one argument,
// which is neither an option nor the name of a protocol.
#include <QDir>
#include <QProcess>

#include "image/CommandLine.h"
#include "tests/fuzz/Fuzz.h"

using namespace Qt::StringLiterals;

using Fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Fuzz::Input input(data, size);
    const bool isUtf16 = input.flag();
    QStringList paths;
    QStringList fragments;
    while (!input.isEmpty()) {
        const QByteArray line = input.piece('\n');
        const QString path = isUtf16
                                 ? QString(reinterpret_cast<const QChar*>(line.constData()), line.size() / 2)
                                 : QString::fromUtf8(line);
        // A task without a path has no run.
        if (path.isEmpty())
            continue;
        paths.append(path);
        fragments += {u"-option value"_s, quotedPath(path)};
    }
    if (paths.isEmpty())
        return 0;
    const QStringList words = QProcess::splitCommand(commandLine(paths[0], fragments));
    require(words.size() == 1 + 3 * paths.size(), "each path is one argument");
    for (qsizetype at = 0; at <= paths.size(); ++at) {
        const QString& path = paths[std::max<qsizetype>(at - 1, 0)];
        const QString& word = words[3 * at];
        require(word == path || word == "./"_L1 + path, "a path comes back as it is");
        require(!word.startsWith(u'-'), "a path is no option");
        require(word.startsWith("./"_L1) || QDir::isAbsolutePath(word) || !word.contains(u':'),
                "a path is no protocol");
        require(at == 0 || (words[3 * at - 2] == u"-option" && words[3 * at - 1] == u"value"),
                "what is beside a path stays beside it");
    }
    return 0;
}
