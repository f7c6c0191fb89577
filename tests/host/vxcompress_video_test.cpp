#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <csignal>

#include "host/LengthProbe.h"
#include "tests/host/HostRun.h"

/// vxcompress on films, with the real ffmpeg.
class VxcompressVideoTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void atAQuality();
    void towardsASize();
    void predictsWhatThenComes_data();
    void predictsWhatThenComes();
    void predictionsThatNeedNone_data();
    void predictionsThatNeedNone();
    void failsHonestly_data();
    void failsHonestly();
    void interrupted_data();
    void interrupted();
    void killedOutright();
    void twoAtOnce();

private:
    QString film() const { return mFolder->path(QStringLiteral("film.mov")); }
    /// Everything but the film.
    QStringList results() const;
    void removeResults() const;
    /// How much of an unfinished result there is.
    qint64 writtenBytes() const;
    static QString media(const char* name)
    {
        return qEnvironmentVariable("VXC_TEST_MEDIA") + u'/' + QLatin1String(name);
    }

    std::unique_ptr<TestFolder> mFolder;
};

/// ffmpeg's description of a file.
static QByteArray described(const QString& path)
{
    QProcess ffmpeg;
    ffmpeg.start(QCoreApplication::applicationDirPath() + QStringLiteral("/ffmpeg"),
                 {QStringLiteral("-i"), path});
    ffmpeg.waitForFinished();
    return ffmpeg.readAllStandardError();
}

/// Whether a process has the text in its command line.
static bool runsWith(const QString& text)
{
    for (const QString& id :
         QDir(QStringLiteral("/proc")).entryList({QStringLiteral("[0-9]*")}, QDir::Dirs)) {
        if (TestFolder::read(QStringLiteral("/proc/%1/cmdline").arg(id)).contains(QFile::encodeName(text)))
            return true;
    }
    return false;
}

/// The sizes in a result line, in bytes.
static QList<double> sizesIn(const QString& line)
{
    static const QRegularExpression kSize(QStringLiteral("([0-9.]+) (bytes|kB|MB)"));
    QList<double> sizes;
    for (auto found = kSize.globalMatch(line); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        const double unit = match.captured(2) == u"MB" ? 1e6 : match.captured(2) == u"kB" ? 1e3 : 1;
        sizes.append(match.captured(1).toDouble() * unit);
    }
    return sizes;
}

QStringList VxcompressVideoTest::results() const
{
    QStringList names = filesIn(*mFolder);
    names.removeOne(QStringLiteral("film.mov"));
    return names;
}

void VxcompressVideoTest::removeResults() const
{
    for (const QString& name : results())
        QVERIFY(QFile::remove(mFolder->path(name)));
}

qint64 VxcompressVideoTest::writtenBytes() const
{
    qint64 bytes = 0;
    for (QDirIterator it(mFolder->path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
         it.hasNext();) {
        const QFileInfo info = it.nextFileInfo();
        if (info.fileName() == QStringLiteral("cut.mp4") || info.fileName() == QStringLiteral("sample.mp4"))
            bytes += info.size();
    }
    return bytes;
}

void VxcompressVideoTest::initTestCase()
{
    mFolder = std::make_unique<TestFolder>();
    // Longer than a sample, and harder to encode at its end.
    QVERIFY(
        runFfmpeg(words("-f lavfi -i testsrc2=s=320x240:r=25:d=24 -f lavfi -i sine=440:r=48000:d=24 "
                        "-vf noise=alls=60:allf=t:enable='gt(t,20)' -c:v libx264 -preset ultrafast -pix_fmt "
                        "yuv420p -c:a aac") +
                  QStringList(film())));
}

void VxcompressVideoTest::cleanupTestCase()
{
    mFolder.reset();
}

void VxcompressVideoTest::atAQuality()
{
    HostRun host(*mFolder);
    QVERIFY(host.run(words("film.mov small.mp4 --quality 30 --scale 2")));
    QVERIFY2(host.status() == 0, qUtf8Printable(host.error()));
    QVERIFY(host.output().contains(QStringLiteral("saved ")));
    const QByteArray description = described(mFolder->path(QStringLiteral("small.mp4")));
    QVERIFY2(description.contains("160x120"), description.constData());
    QVERIFY2(qAbs(LengthProbe::lengthMsIn(description) - 24000) < 200, description.constData());
    QCOMPARE(results(), QStringList(QStringLiteral("small.mp4")));
    QCOMPARE(mFolder->leftovers(), QStringList());
    removeResults();
}

void VxcompressVideoTest::towardsASize()
{
    HostRun host(*mFolder);
    QVERIFY(host.run(words("film.mov half.mkv --size 50% --quiet")));
    QVERIFY2(host.status() == 0, qUtf8Printable(host.error()));
    QCOMPARE(host.output() + host.error(), QString());
    const double share = double(QFileInfo(mFolder->path(QStringLiteral("half.mkv"))).size()) /
                         double(QFileInfo(film()).size());
    QVERIFY2(share > 0.4 && share < 0.6, qPrintable(QString::number(share)));
    removeResults();
}

void VxcompressVideoTest::predictsWhatThenComes_data()
{
    QTest::addColumn<QString>("aim");
    QTest::newRow("quality") << "--quality 30";
    QTest::newRow("size") << "--size 50";
}

void VxcompressVideoTest::predictsWhatThenComes()
{
    QFETCH(QString, aim);
    // Easy all along: what comes is as the sample was.
    const QString source = mFolder->path(QStringLiteral("even.mov"));
    QVERIFY(
        runFfmpeg(words("-f lavfi -i testsrc2=s=320x240:r=25:d=30 -c:v libx264 -preset ultrafast -pix_fmt "
                        "yuv420p") +
                  QStringList(source)));
    const QStringList job = words("even.mov out.mp4") + aim.split(u' ');
    HostRun estimate(*mFolder);
    QVERIFY(estimate.run(job + words("--estimate")));
    QVERIFY2(estimate.status() == 0, qUtf8Printable(estimate.error()));
    QVERIFY(!QFile::exists(mFolder->path(QStringLiteral("out.mp4"))));
    QCOMPARE(mFolder->leftovers(), QStringList());
    const QList<double> expected = sizesIn(estimate.output());
    QVERIFY2(expected.size() == 3, qUtf8Printable(estimate.output()));

    HostRun whole(*mFolder);
    QVERIFY(whole.run(job));
    const double made = double(QFileInfo(mFolder->path(QStringLiteral("out.mp4"))).size());
    QVERIFY2(expected.at(1) <= made && made <= expected.at(2),
             qPrintable(estimate.output() + QString::number(made)));
    removeResults();
}

void VxcompressVideoTest::predictionsThatNeedNone_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("said");
    QTest::newRow("a short film") << media("mp4-moov-first.mp4") << "not longer than the sample";
    QTest::newRow("a film of unknown length")
        << media("live.mkv") << "a minute; the film's length is not known";
}

void VxcompressVideoTest::predictionsThatNeedNone()
{
    QFETCH(QString, source);
    QFETCH(QString, said);
    HostRun host(*mFolder);
    QVERIFY(host.run(QStringList(source) + words("out.mp4 --estimate")));
    QVERIFY2(host.status() == 0, qUtf8Printable(host.error()));
    QVERIFY2(host.output().contains(said), qUtf8Printable(host.output()));
    QCOMPARE(results(), QStringList());
}

void VxcompressVideoTest::failsHonestly_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("output");
    QTest::newRow("no film") << media("garbage.mp4") << "out.mp4";
    QTest::newRow("H.264 where it cannot be") << film() << "out.webm";
    QTest::newRow("no such container") << film() << "out.film";
}

void VxcompressVideoTest::failsHonestly()
{
    QFETCH(QString, source);
    QFETCH(QString, output);
    for (const char* option : {"--quiet", "--estimate"}) {
        HostRun host(*mFolder);
        QVERIFY(host.run({source, output, QLatin1String(option)}));
        QCOMPARE(host.status(), 1);
        QVERIFY2(host.error().contains(QStringLiteral("(code 1)")), qUtf8Printable(host.error()));
        QCOMPARE(host.error().count(u'\n'), 1);
        QCOMPARE(results(), QStringList());
        QCOMPARE(mFolder->leftovers(), QStringList());
    }
}

void VxcompressVideoTest::interrupted_data()
{
    QTest::addColumn<QString>("job");
    QTest::addColumn<int>("signal");
    QTest::newRow("Ctrl-C") << "--quality 0" << SIGINT;
    QTest::newRow("termination") << "--size 90" << SIGTERM;
    QTest::newRow("an estimate") << "--quality 0 --estimate" << SIGINT;
}

void VxcompressVideoTest::interrupted()
{
#ifndef Q_OS_LINUX
    QSKIP("no /proc to look into");
#endif
    QFETCH(QString, job);
    QFETCH(int, signal);
    enum Moment
    {
        Start,
        EncoderRuns,
        OutputGrows
    };
    for (const Moment moment : {Start, EncoderRuns, OutputGrows}) {
        HostRun host(*mFolder);
        host.start(words("film.mov cut.mp4 --scale 1") + job.split(u' '));
        if (moment == EncoderRuns)
            QTRY_VERIFY_WITH_TIMEOUT(runsWith(mFolder->path()), 20000);
        if (moment == OutputGrows)
            QTRY_VERIFY_WITH_TIMEOUT(writtenBytes() > 100000, 20000);
        host.sendSignal(signal);
        QVERIFY(host.waitForEnd());
        // Before the program is ready for it, a signal ends it by itself.
        QVERIFY(host.status() == 128 + signal || (moment == Start && host.status() == -1));
        QCOMPARE(results(), QStringList());
        QCOMPARE(mFolder->leftovers(), QStringList());
        QVERIFY(!runsWith(mFolder->path()));
    }
}

void VxcompressVideoTest::killedOutright()
{
#ifndef Q_OS_LINUX
    QSKIP("no /proc to look into");
#endif
    HostRun host(*mFolder);
    host.start(words("film.mov cut.mp4 -q 0"));
    QTRY_VERIFY_WITH_TIMEOUT(runsWith(mFolder->path()), 20000);
    host.sendSignal(SIGKILL);
    QVERIFY(host.waitForEnd());
    QTRY_VERIFY(!runsWith(mFolder->path()));
    QVERIFY(!QFile::exists(mFolder->path(QStringLiteral("cut.mp4"))));
    // A killed program cannot clean up; the next run does, when nothing has moved for a while.
    for (const QString& name : results())
        QVERIFY(QDir(mFolder->path(name)).removeRecursively());
    for (const QString& name : mFolder->leftovers())
        QVERIFY(QDir(mFolder->temporaryPath() + u'/' + name).removeRecursively());
}

void VxcompressVideoTest::twoAtOnce()
{
    // Each numbers its temporary files from the beginning.
    HostRun one(*mFolder);
    HostRun other(*mFolder);
    one.start(words("film.mov one.mp4 -q 40 --scale 4"));
    other.start(words("film.mov other.mp4 -q 40 --scale 2"));
    QVERIFY(one.waitForEnd() && other.waitForEnd());
    QCOMPARE(one.status() + other.status(), 0);
    QVERIFY(described(mFolder->path(QStringLiteral("one.mp4"))).contains("80x60"));
    QVERIFY(described(mFolder->path(QStringLiteral("other.mp4"))).contains("160x120"));
    QCOMPARE(mFolder->leftovers(), QStringList());
    removeResults();
}

QTEST_GUILESS_MAIN(VxcompressVideoTest)
#include "vxcompress_video_test.moc"
