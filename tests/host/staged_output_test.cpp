#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTest>

#include "host/PrivateFolder.h"
#include "host/StagedOutput.h"
#include "tests/host/HostRun.h"

#ifndef Q_OS_WIN
#include <utime.h>
#endif

/// Results appear whole and in one step, and what killed runs left behind goes without harm to living ones.
class StagedOutputTest : public QObject
{
    Q_OBJECT

private slots:
    void nothingShowsBeforeTheDelivery();
    void aFileMadeMeanwhileStays();
    void aReplacedFileKeepsItsPermissions();
    void aLinkStaysALink();
    void leftoversOfKilledRunsGo();

private:
    static void writeTo(const StagedOutput& output, const QByteArray& content);
};

void StagedOutputTest::writeTo(const StagedOutput& output, const QByteArray& content)
{
    QFile file(output.path());
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

void StagedOutputTest::nothingShowsBeforeTheDelivery()
{
    const TestFolder folder;
    const QString path = folder.write(QStringLiteral("out.jpg"), "old");
    {
        const StagedOutput abandoned(path, true);
        QVERIFY(abandoned.isValid());
        writeTo(abandoned, "half");
        QCOMPARE(TestFolder::read(path), QByteArray("old"));
    }
    QCOMPARE(filesIn(folder), QStringList(QStringLiteral("out.jpg")));
    StagedOutput output(path, true);
    writeTo(output, "new");
    QCOMPARE(output.deliver(), QString());
    QCOMPARE(TestFolder::read(path), QByteArray("new"));
}

void StagedOutputTest::aFileMadeMeanwhileStays()
{
    const TestFolder folder;
    StagedOutput output(folder.path(QStringLiteral("out.jpg")), false);
    writeTo(output, "result");
    const QString path = folder.write(QStringLiteral("out.jpg"), "somebody's");
    QVERIFY(!output.deliver().isEmpty());
    QCOMPARE(TestFolder::read(path), QByteArray("somebody's"));
}

void StagedOutputTest::aReplacedFileKeepsItsPermissions()
{
#ifdef Q_OS_WIN
    QSKIP("permissions are another thing here");
#endif
    const TestFolder folder;
    const QString path = folder.write(QStringLiteral("out.jpg"), "old");
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther));
    const auto permissions = QFile::permissions(path);
    StagedOutput output(path, true);
    writeTo(output, "new");
    QCOMPARE(output.deliver(), QString());
    QCOMPARE(QFile::permissions(path), permissions);
}

void StagedOutputTest::aLinkStaysALink()
{
#ifdef Q_OS_WIN
    QSKIP("links are another thing here");
#endif
    const TestFolder folder;
    QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("real")));
    folder.write(QStringLiteral("real/target.dat"), "old");
    const QString link = folder.path(QStringLiteral("out.jpg"));
    QVERIFY(QFile::link(QStringLiteral("real/target.dat"), link));
    StagedOutput output(link, true);
    // The suffix chooses the encoder, so the name is the link's.
    QVERIFY(output.path().endsWith(QStringLiteral("/out.jpg")));
    writeTo(output, "new");
    QCOMPARE(output.deliver(), QString());
    QVERIFY(QFileInfo(link).isSymLink());
    QCOMPARE(TestFolder::read(folder.path(QStringLiteral("real/target.dat"))), QByteArray("new"));

    QVERIFY(QFile::remove(folder.path(QStringLiteral("real/target.dat"))));
    StagedOutput dangling(link, false);
    writeTo(dangling, "again");
    QCOMPARE(dangling.deliver(), QString());
    QCOMPARE(TestFolder::read(folder.path(QStringLiteral("real/target.dat"))), QByteArray("again"));
}

void StagedOutputTest::leftoversOfKilledRunsGo()
{
#ifdef Q_OS_WIN
    QSKIP("no simple way to make a folder old here");
#else
    const TestFolder folder;
    const QString prefix = QStringLiteral("vx-");
    const PrivateFolder living(folder.path(), prefix);
    for (const char* name : {"vx-killed", "vx-recent", "vx-fresh1", "vx-longer-name", "my-killed"})
        QVERIFY(QDir(folder.path()).mkdir(QString::fromLatin1(name)));
    folder.write(QStringLiteral("vx-killed/half.mp4"), "half");
    folder.write(QStringLiteral("vx-recent/growing.mp4"), "just written");
    const utimbuf longAgo{1000000000, 1000000000};
    for (const char* name : {"vx-killed/half.mp4", "vx-killed", "vx-recent", "vx-longer-name", "my-killed"})
        QCOMPARE(utime(qPrintable(folder.path(QString::fromLatin1(name))), &longAgo), 0);
    QCOMPARE(utime(QFile::encodeName(living.path()).constData(), &longAgo), 0);

    const PrivateFolder next(folder.path(), prefix);
    QStringList expected = {QFileInfo(living.path()).fileName(), QFileInfo(next.path()).fileName(),
                            QStringLiteral("my-killed"),         QStringLiteral("vx-fresh1"),
                            QStringLiteral("vx-longer-name"),    QStringLiteral("vx-recent")};
    expected.sort();
    QStringList found = filesIn(folder);
    found.sort();
    QCOMPARE(found, expected);
#endif
}

QTEST_GUILESS_MAIN(StagedOutputTest)
#include "staged_output_test.moc"
