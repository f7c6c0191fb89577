#pragma once

#include <QDir>
#include <QSysInfo>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

/// A media source of the tests by its file name.
inline QString media(QAnyStringView name)
{
    return qEnvironmentVariable("VXC_TEST_MEDIA") + u'/' + name.toString();
}

/// A folder of a test's own whose name has a blank, a quote (where the system allows one) and a non-ASCII
/// letter. For as long as it lives, the temporary location is a folder inside.
class TestFolder
{
public:
    TestFolder() { useTemporary(QDir().mkpath(temporaryPath()) ? temporaryPath() : mBefore); }
    ~TestFolder() { useTemporary(mBefore); }
    Q_DISABLE_COPY_MOVE(TestFolder)

    QString path(const QString& name = {}) const
    {
        return mRoot.path() + (name.isEmpty() ? name : u'/' + name);
    }
    QString temporaryPath() const { return path(u"tmp"_s); }

    /// Writes a file of this folder and returns its path.
    QString write(const QString& name, const QByteArray& content) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write %s", qUtf8Printable(file.fileName()));
        return file.fileName();
    }
    /// The content of any file; null (not just empty) when there is none.
    static QByteArray read(const QString& filePath)
    {
        QFile file(filePath);
        return file.open(QIODevice::ReadOnly) ? QByteArray("").append(file.readAll()) : QByteArray();
    }
    /// Everything in a folder inside, by default the temporary location, where a well-behaved test leaves
    /// nothing.
    QStringList leftovers(const QString& name = u"tmp"_s) const
    {
        return QDir(path(name))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }
    static void useTemporary(const QString& path)
    {
        for (const char* variable : {"TMPDIR", "TMP"}) // of Unix, of Windows
            qputenv(variable, QFile::encodeName(path));
    }

private:
    const QString mBefore = QDir::tempPath();
    const QString mQuote = QSysInfo::kernelType() == "winnt"_L1 ? QString() : u"\""_s;
    const QTemporaryDir mRoot{mBefore + u"/vx "_s + mQuote + u"t\u00e9st-XXXXXX"_s};
};
