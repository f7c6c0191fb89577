#include "tests/support/TestFolder.h"

#include <QDir>
#include <QFile>

namespace {

#ifdef Q_OS_WIN
constexpr char kTemporaryVariable[] = "TMP";
const QString kAwkwardName = QStringLiteral("/vx t\u00e9st-XXXXXX");
#else
constexpr char kTemporaryVariable[] = "TMPDIR";
const QString kAwkwardName = QStringLiteral("/vx \"t\u00e9st-XXXXXX");
#endif

} // namespace

TestFolder::TestFolder()
    : mRoot(QDir::tempPath() + kAwkwardName), mPreviousTemporary(qgetenv(kTemporaryVariable))
{
    if (!QDir().mkpath(temporaryPath()))
        qFatal("no test folder at %s", qUtf8Printable(mRoot.path()));
    qputenv(kTemporaryVariable, QFile::encodeName(temporaryPath()));
}

TestFolder::~TestFolder()
{
    if (mPreviousTemporary.isNull())
        qunsetenv(kTemporaryVariable);
    else
        qputenv(kTemporaryVariable, mPreviousTemporary);
}

QString TestFolder::write(const QString& name, const QByteArray& content) const
{
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qUtf8Printable(file.fileName()));
    return file.fileName();
}

QByteArray TestFolder::read(const QString& filePath)
{
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray content = file.readAll();
    return content.isNull() ? QByteArray("") : content;
}

QStringList TestFolder::leftovers() const
{
    return QDir(temporaryPath())
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}
