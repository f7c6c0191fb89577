#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// A folder of a test's own whose name has a blank, a quote (where the system allows one) and a non-ASCII
/// letter. For as long as it lives, the temporary location is a folder inside.
class TestFolder
{
public:
    TestFolder();
    ~TestFolder();
    Q_DISABLE_COPY_MOVE(TestFolder)

    QString path() const { return mRoot.path(); }
    QString path(const QString& name) const { return mRoot.path() + u'/' + name; }
    QString temporaryPath() const { return path(QStringLiteral("tmp")); }

    /// Writes a file of this folder and returns its path.
    QString write(const QString& name, const QByteArray& content) const;
    /// The content of any file; null (not just empty) when there is none.
    static QByteArray read(const QString& filePath);

    /// Everything in the temporary location; empty after a well-behaved test.
    QStringList leftovers() const;

private:
    QTemporaryDir mRoot;
    QByteArray mPreviousTemporary;
};
