#include "image/CommandLine.h"

#include <QCoreApplication>
#include <QDir>

#include "image/Delivery.h"
#include "image/Platform.h"

QString quotedPath(const QString& path)
{
    QString text = path;
    // Three quotes in a row are one literal quote, inside a quoted stretch and outside.
    text.replace(u'"', QLatin1String("\"\"\""));
    if (text.startsWith(u'-'))
        text.prepend(QLatin1String("./"));
    return u'"' + text + u'"';
}

QString toolPath(const char* tool)
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + u'/' + Platform::executableName(tool));
}

QString commandLine(const QString& tool, const QStringList& fragments)
{
    return quotedPath(tool) + u' ' + fragments.join(u' ');
}

QString overwriteOption(const QString& inputPath, const QString& outputPath)
{
    return isSameFile(inputPath, outputPath) ? QStringLiteral("-n") : QStringLiteral("-y");
}
