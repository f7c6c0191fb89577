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

using namespace Qt::StringLiterals;

/// What a delivery leaves alone, and that what killed runs left behind goes without harm to living ones.
class StagedOutputTest : public QObject
{
    Q_OBJECT

private slots:
    void aFileMadeMeanwhileStays();
    void permissionsAndLinksStay();
    void leftoversOfKilledRunsGo();
};

static void writeTo(const StagedOutput& output, const QByteArray& content)
{
    QFile file(output.path());
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

void StagedOutputTest::aFileMadeMeanwhileStays()
{
    const TestFolder folder;
    StagedOutput output(folder.path(u"out.jpg"_s), false);
    writeTo(output, "result");
    const QString path = folder.write(u"out.jpg"_s, "somebody's");
    QVERIFY(!output.deliver().isEmpty());
    QCOMPARE(TestFolder::read(path), QByteArray("somebody's"));
}

void StagedOutputTest::permissionsAndLinksStay()
{
#ifdef Q_OS_WIN
    QSKIP("permissions and links are other things here");
#endif
    const TestFolder folder;
    QVERIFY(QDir(folder.path()).mkdir(u"real"_s));
    const QString target = folder.write(u"real/target.dat"_s, "old");
    QVERIFY(QFile::setPermissions(target, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther));
    const auto permissions = QFile::permissions(target);
    const QString link = folder.path(u"out.jpg"_s);
    QVERIFY(QFile::link(u"real/target.dat"_s, link));
    StagedOutput output(link, true);
    // The suffix chooses the encoder, so the name is the link's.
    QVERIFY(output.path().endsWith("/out.jpg"_L1));
    writeTo(output, "new");
    QCOMPARE(output.deliver(), QString());
    QVERIFY(QFileInfo(link).isSymLink());
    QCOMPARE(TestFolder::read(target), QByteArray("new"));
    QCOMPARE(QFile::permissions(target), permissions);

    QVERIFY(QFile::remove(target));
    StagedOutput dangling(link, false);
    writeTo(dangling, "again");
    QCOMPARE(dangling.deliver(), QString());
    QCOMPARE(TestFolder::read(target), QByteArray("again"));
}

void StagedOutputTest::leftoversOfKilledRunsGo()
{
#ifdef Q_OS_WIN
    QSKIP("no simple way to make a folder old here");
#else
    const TestFolder folder;
    const PrivateFolder living(folder.path(), u"vx-"_s);
    for (const char* name : {"vx-killed", "vx-recent", "vx-fresh1", "vx-longer-name", "my-killed"})
        QVERIFY(QDir(folder.path()).mkdir(QString::fromLatin1(name)));
    folder.write(u"vx-killed/half.mp4"_s, "half");
    folder.write(u"vx-recent/growing.mp4"_s, "just written");
    const QString livingName = QFileInfo(living.path()).fileName();
    const utimbuf longAgo{1000000000, 1000000000};
    for (const QString& name : QStringList{u"vx-killed/half.mp4"_s, u"vx-killed"_s, u"vx-recent"_s,
                                           u"vx-longer-name"_s, u"my-killed"_s, livingName})
        QCOMPARE(utime(QFile::encodeName(folder.path(name)).constData(), &longAgo), 0);

    const PrivateFolder next(folder.path(), u"vx-"_s);
    QStringList expected = {livingName,     QFileInfo(next.path()).fileName(),
                            u"my-killed"_s, u"vx-fresh1"_s,
                            u"vx-recent"_s, u"vx-longer-name"_s};
    QStringList found = filesIn(folder);
    expected.sort();
    found.sort();
    QCOMPARE(found, expected);
#endif
}

QTEST_GUILESS_MAIN(StagedOutputTest)
#include "staged_output_test.moc"
