#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <csignal>

#include "host/LengthProbe.h"
#include "tests/host/HostRun.h"

using namespace Qt::StringLiterals;

/// vxcompress on films, with the real ffmpeg.
class VxcompressVideoTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void predictsAndDelivers_data();
    void predictsAndDelivers();
    void interrupted_data();
    void interrupted();
    void twoAtOnce();

private:
    /// Everything but the film.
    QStringList results() const;
    /// How much of an unfinished result there is.
    qint64 writtenBytes() const;

    const TestFolder mFolder;
};

/// ffmpeg's description of a file.
static QByteArray described(const QString& path)
{
    QProcess ffmpeg;
    ffmpeg.start(QCoreApplication::applicationDirPath() + u"/ffmpeg"_s, {u"-i"_s, path});
    ffmpeg.waitForFinished();
    return ffmpeg.readAllStandardError();
}

/// Whether a process has the text in its command line.
static bool runsWith(const QString& text)
{
    for (const QString& id : QDir(u"/proc"_s).entryList({u"[0-9]*"_s}, QDir::Dirs)) {
        if (TestFolder::read(u"/proc/%1/cmdline"_s.arg(id)).contains(QFile::encodeName(text)))
            return true;
    }
    return false;
}

/// The sizes in a result line, in bytes.
static QList<double> sizesIn(const QString& line)
{
    static const QRegularExpression kSize(u"([0-9.]+) (bytes|kB|MB)"_s);
    QList<double> sizes;
    for (auto found = kSize.globalMatch(line); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        const double unit = match.captured(2) == u"MB" ? 1e6 : match.captured(2) == u"kB" ? 1e3 : 1;
        sizes.append(match.captured(1).toDouble() * unit);
    }
    return sizes;
}

void VxcompressVideoTest::initTestCase()
{
    // Longer than a sample, and even all along: what comes is as the sample was.
    QVERIFY(runFfmpeg(words("-f lavfi -i testsrc2=s=320x240:r=25:d=30 -f lavfi -i sine=440:r=48000:d=30 "
                            "-vf noise=alls=20:allf=t -c:v libx264 -preset ultrafast -pix_fmt yuv420p "
                            "-c:a aac") +
                      QStringList(mFolder.path(u"film.mov"_s))));
}

void VxcompressVideoTest::cleanup()
{
    for (const QString& name : results())
        QVERIFY(QFile::remove(mFolder.path(name)));
}

QStringList VxcompressVideoTest::results() const
{
    QStringList names = filesIn(mFolder);
    names.removeOne(u"film.mov"_s);
    return names;
}

qint64 VxcompressVideoTest::writtenBytes() const
{
    qint64 bytes = 0;
    for (QDirIterator it(mFolder.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
         it.hasNext();) {
        const QFileInfo info = it.nextFileInfo();
        if (info.fileName() == u"cut.mp4"_s || info.fileName() == u"sample.mp4"_s)
            bytes += info.size();
    }
    return bytes;
}

void VxcompressVideoTest::predictsAndDelivers_data()
{
    QTest::addColumn<QString>("picture");
    QTest::addColumn<double>("aimed");
    QTest::newRow("film.mov out.mp4 --quality 30 --scale 2") << u" 160x120"_s << 0.0;
    QTest::newRow("film.mov out.mkv --size 50%") << u" 320x240"_s << 0.5;
}

void VxcompressVideoTest::predictsAndDelivers()
{
    QFETCH(QString, picture);
    QFETCH(double, aimed);
    const QStringList job = words(QTest::currentDataTag());
    HostRun estimate(mFolder);
    QVERIFY(estimate.run(job + words("--estimate")));
    QVERIFY2(estimate.status() == 0, qUtf8Printable(estimate.error()));
    QCOMPARE(results(), QStringList());
    const QList<double> expected = sizesIn(estimate.output());
    QVERIFY2(expected.size() == 3, qUtf8Printable(estimate.output()));

    HostRun whole(mFolder);
    QVERIFY(whole.run(job));
    QVERIFY2(whole.status() == 0, qUtf8Printable(whole.error()));
    QVERIFY(whole.output().contains("saved "_L1));
    QCOMPARE(results(), QStringList(job.at(1)));
    const QByteArray description = described(mFolder.path(job.at(1)));
    QVERIFY2(description.contains(picture.toLatin1()), description.constData());
    QVERIFY2(qAbs(LengthProbe::lengthMsIn(description) - 30000) < 200, description.constData());
    const auto made = double(QFileInfo(mFolder.path(job.at(1))).size());
    QVERIFY2(expected.at(1) <= made && made <= expected.at(2),
             qPrintable(estimate.output() + QString::number(made)));
    const double share = made / double(QFileInfo(mFolder.path(job.at(0))).size());
    QVERIFY2(share < 1 && (aimed == 0 || qAbs(share - aimed) < 0.1), qPrintable(QString::number(share)));
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
    // At once, as soon as the encoder runs, and in the middle of the result.
    for (const qint64 bytes : {-1, 0, 100000}) {
        HostRun host(mFolder);
        host.start(words("film.mov cut.mp4 --scale 1") + job.split(u' '));
        if (bytes >= 0)
            QTRY_VERIFY_WITH_TIMEOUT(runsWith(mFolder.path()) && writtenBytes() >= bytes, 20000);
        host.sendSignal(signal);
        QVERIFY(host.waitForEnd());
        // Before the program is ready for it, a signal ends it by itself.
        QVERIFY(host.status() == 128 + signal || (bytes < 0 && host.status() == -1));
        QCOMPARE(results(), QStringList());
        QVERIFY(!runsWith(mFolder.path()));
    }
}

void VxcompressVideoTest::twoAtOnce()
{
    // Each numbers its temporary files from the beginning.
    HostRun one(mFolder);
    HostRun other(mFolder);
    one.start(words("film.mov one.mp4 -q 40 --scale 4"));
    other.start(words("film.mov other.mp4 -q 40 --scale 2"));
    QVERIFY(one.waitForEnd() && other.waitForEnd());
    QCOMPARE(one.status() + other.status(), 0);
    QVERIFY(described(mFolder.path(u"one.mp4"_s)).contains("80x60"));
    QVERIFY(described(mFolder.path(u"other.mp4"_s)).contains("160x120"));
    QCOMPARE(results(), QStringList({u"one.mp4"_s, u"other.mp4"_s}));
}

QTEST_GUILESS_MAIN(VxcompressVideoTest)
#include "vxcompress_video_test.moc"
