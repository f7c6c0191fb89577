#include <QDir>
#include <QFile>
#include <QTest>

#include "tests/host/HostRun.h"

using namespace Qt::StringLiterals;

/// vxcompress with the real encoders, as a user runs it.
class VxcompressTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void compresses_data();
    void compresses();
    void deliversNothing_data();
    void deliversNothing();
    void standardOutputIsForResults();

private:
    /// For lines that change nothing.
    const TestFolder mFolder;
};

/// What a decoder makes of a file: ffmpeg's own opinion, as the size of one raw frame.
static bool isPicture(const TestFolder& folder, const QString& path)
{
    const QString raw = folder.path(u"decoded.rgb"_s);
    const bool decoded = runFfmpeg(words("-xerror -i") + QStringList(path) +
                                   words("-f rawvideo -pix_fmt rgb24") + QStringList(raw));
    const qint64 bytes = QFileInfo(raw).size();
    QFile::remove(raw);
    return decoded && bytes == qint64(640) * 480 * 3;
}

void VxcompressTest::initTestCase()
{
    makePicture(mFolder, u"photo.png"_s, u"1280x960"_s);
    mFolder.write(u"bad.jpg"_s, "no picture at all");
    mFolder.write(u"empty.jpg"_s, "");
    for (const char* name : {"old.jpg", "old.png", "old.webp"})
        mFolder.write(QString::fromLatin1(name), "old");
    QVERIFY(QDir(mFolder.path()).mkdir(u"folder"_s) && QDir(mFolder.path()).mkdir(u"folder.jpg"_s));
    for (const QString& name : {u"mp4-moov-first.mp4"_s, u"live.mkv"_s, u"garbage.mp4"_s})
        QVERIFY(QFile::copy(qEnvironmentVariable("VXC_TEST_MEDIA") + u'/' + name, mFolder.path(name)));
}

void VxcompressTest::compresses_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("output");
    QTest::newRow("PNG") << u"drawing.png"_s << u"smaller.png"_s;
    QTest::newRow("WebP") << u"photo.jpg"_s << u"smaller.webp"_s;
    QTest::newRow("JPEG, with names like options") << u"-f.jpg"_s << u"-q.jpg"_s;
    QTest::newRow("JPEG in place") << u"photo.jpg"_s << u"./photo.jpg"_s;
    QTest::newRow("PNG in place") << u"drawing.png"_s << u"./drawing.png"_s;
    // Its encoder writes the very path it is given.
    QTest::newRow("WebP in place") << u"photo.webp"_s << u"./photo.webp"_s;
}

void VxcompressTest::compresses()
{
    QFETCH(QString, input);
    QFETCH(QString, output);
    const bool inPlace = output.startsWith(u'.');
    const TestFolder folder;
    const QByteArray source = TestFolder::read(makePicture(folder, input));
    HostRun host(folder);
    QVERIFY(host.run(words(inPlace ? "-q 20 --force --" : "--quality 60 --") + QStringList{input, output}));
    QVERIFY2(host.status() == 0, qUtf8Printable(host.error()));
    QVERIFY2(host.output().startsWith(u"%1 -> %2: "_s.arg(input, output)), qUtf8Printable(host.output()));
    QVERIFY(host.output().contains("saved "_L1));
    QCOMPARE(host.error(), QString());

    QVERIFY(isPicture(folder, folder.path(output)));
    QVERIFY(QFileInfo(folder.path(output)).size() < source.size());
    QCOMPARE(TestFolder::read(folder.path(input)) == source, !inPlace);
    QStringList expected = inPlace ? QStringList(input) : QStringList{input, output};
    expected.sort();
    QCOMPARE(filesIn(folder), expected);
}

void VxcompressTest::deliversNothing_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("said");
    QTest::addColumn<qint64>("maxFileBytes");
    const auto row = [](const char* line, int status, const QString& said, qint64 maxFileBytes = -1) {
        QTest::newRow(line) << status << said << maxFileBytes;
    };
    row("missing.jpg out.jpg", 2, u"no file missing.jpg"_s);
    row("folder out.jpg", 2, u"not a regular file"_s);
    row("empty.jpg out.jpg", 2, u"is empty"_s);
    row("photo.png old.jpg", 2, u"--force"_s);
    row("photo.png folder.jpg --force", 2, u"not a regular file"_s);
    row("photo.png missing/out.jpg", 2, u"no folder"_s);

    row("photo.png", 2, u"one input and one output"_s);
    row("photo.png out.jpg --fast", 2, u"fast"_s);
    row("photo.png out", 2, u"suffix"_s);
    row("photo.png out.jpg -q 101", 2, u"0 to 100"_s);
    row("photo.png out.mp4 -q 52", 2, u"0 to 51"_s);
    row("photo.png out.webp -q 7.5", 2, u"\"7.5\""_s);
    row("photo.png out.mp4 --size 0", 2, u"1 to 100"_s);
    row("photo.png out.mp4 --size 50 -q 20", 2, u"not both"_s);
    row("photo.png out.mp4 --scale 3", 2, u"1, 2 or 4"_s);
    row("photo.png out.webp --estimate", 2, u"is for video"_s);

    row("bad.jpg old.jpg -f", 1, u"bad.jpg is damaged"_s);
    row("bad.jpg old.webp -f", 1, u"is bad.jpg a whole"_s);
    row("garbage.mp4 out.mp4 --quiet", 1, u"(code 1)"_s);
    row("garbage.mp4 out.mp4 --estimate", 1, u"(code 1)"_s);
    // H.264 where it cannot be.
    row("mp4-moov-first.mp4 out.webm --quiet", 1, u"(code 1)"_s);
#ifndef Q_OS_WIN
    // A full disk: no room for the smallest of the results.
    row("photo.png old.jpg -f", 1, u"(code "_s, 8000);
    row("photo.png old.png -f", 1, u"(code "_s, 8000);
    row("photo.png old.webp -f", 1, u"(code "_s, 8000);
#endif

    row("mp4-moov-first.mp4 out.mp4 --estimate", 0, u"not longer than the sample"_s);
    row("live.mkv out.mp4 --estimate", 0, u"a minute; the film's length is not known"_s);
    // An answer, whatever else the line says.
    row("photo.png --version -q 7", 0, u"vxcompress "_s);
}

void VxcompressTest::deliversNothing()
{
    QFETCH(int, status);
    QFETCH(QString, said);
    QFETCH(qint64, maxFileBytes);
    const QStringList before = contentsOf(mFolder);
    HostRun host(mFolder);
    host.start(words(QTest::currentDataTag()), {.maxFileBytes = maxFileBytes});
    QVERIFY(host.waitForEnd());
    QCOMPARE(host.status(), status);
    const QString answer = status == 0 ? host.output() : host.error();
    QVERIFY2(answer.contains(said), qUtf8Printable(answer));
    QCOMPARE(answer.count(u'\n'), 1);
    QCOMPARE(host.output().isEmpty(), status != 0);
    QCOMPARE(contentsOf(mFolder), before);
}

void VxcompressTest::standardOutputIsForResults()
{
    const TestFolder folder;
    makePicture(folder, u"photo.jpg"_s);
    HostRun quiet(folder);
    QVERIFY(quiet.run(words("photo.jpg small.jpg -q 20 --quiet")));
    QCOMPARE(quiet.status(), 0);
    QCOMPARE(quiet.output() + quiet.error(), QString());
    // What would grow is delivered as it is.
    HostRun verbose(folder);
    QVERIFY(verbose.run(words("small.jpg same.jpg -q 100 --verbose")));
    QCOMPARE(verbose.status(), 0);
    QVERIFY2(verbose.error().contains("onFinished"_L1), qUtf8Printable(verbose.error()));
    QVERIFY2(verbose.output().contains("unchanged"_L1), qUtf8Printable(verbose.output()));
    QCOMPARE(verbose.output().count(u'\n'), 1);
    QCOMPARE(TestFolder::read(folder.path(u"same.jpg"_s)), TestFolder::read(folder.path(u"small.jpg"_s)));
}

QTEST_GUILESS_MAIN(VxcompressTest)
#include "vxcompress_test.moc"
