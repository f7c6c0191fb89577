#include <QDir>
#include <QFile>
#include <QTest>

#include "tests/host/HostRun.h"

/// vxcompress with the real encoders, as a user runs it.
class VxcompressTest : public QObject
{
    Q_OBJECT

private slots:
    void compresses_data();
    void compresses();
    void inPlace_data();
    void inPlace();
    void deliversTheSourceWhenItWouldGrow();
    void refusesBeforeAnythingBegins_data();
    void refusesBeforeAnythingBegins();
    void aFailedJobLeavesTheOldFile_data();
    void aFailedJobLeavesTheOldFile();
    void aFullDiskIsAFailure();
    void standardOutputIsForResults();
};

/// What a decoder makes of a file: ffmpeg's own opinion, as the size of one raw frame.
static bool isPicture(const TestFolder& folder, const QString& path)
{
    const QString raw = folder.path(QStringLiteral("decoded.rgb"));
    const bool decoded = runFfmpeg(words("-xerror -i") + QStringList(path) +
                                   words("-f rawvideo -pix_fmt rgb24") + QStringList(raw));
    const qint64 bytes = QFileInfo(raw).size();
    QFile::remove(raw);
    return decoded && bytes == qint64(640) * 480 * 3;
}

void VxcompressTest::compresses_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("output");
    QTest::newRow("JPEG") << "photo.jpg"
                          << "smaller.jpg";
    QTest::newRow("PNG") << "drawing.png"
                         << "smaller.png";
    QTest::newRow("WebP") << "photo.jpg"
                          << "smaller.webp";
    QTest::newRow("JPEG of a PNG") << "drawing.png"
                                   << "photo.JPEG";
    QTest::newRow("a name like an option") << "-f.jpg"
                                           << "-q.jpg";
}

void VxcompressTest::compresses()
{
    QFETCH(QString, input);
    QFETCH(QString, output);
    const TestFolder folder;
    const QByteArray source = TestFolder::read(makePicture(folder, input));
    HostRun host(folder);
    QVERIFY(
        host.run({QStringLiteral("--quality"), QStringLiteral("60"), QStringLiteral("--"), input, output}));
    QVERIFY2(host.status() == 0, qUtf8Printable(host.error()));
    QVERIFY2(host.output().startsWith(QStringLiteral("%1 -> %2: ").arg(input, output)),
             qUtf8Printable(host.output()));
    QVERIFY(host.output().contains(QStringLiteral("saved ")));
    QCOMPARE(host.error(), QString());

    QVERIFY(isPicture(folder, folder.path(output)));
    QVERIFY(QFileInfo(folder.path(output)).size() < source.size());
    QCOMPARE(TestFolder::read(folder.path(input)), source);
    QStringList expected = {input, output};
    expected.sort();
    QCOMPARE(filesIn(folder), expected);
    QCOMPARE(folder.leftovers(), QStringList());
}

void VxcompressTest::inPlace_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("JPEG") << "photo.jpg";
    QTest::newRow("PNG") << "drawing.png";
    // Its encoder writes the very path it is given.
    QTest::newRow("WebP") << "photo.webp";
}

void VxcompressTest::inPlace()
{
    QFETCH(QString, name);
    const TestFolder folder;
    const qint64 before = QFileInfo(makePicture(folder, name)).size();
    HostRun host(folder);
    QVERIFY(host.run(words("-q 20 --force") + QStringList{name, QStringLiteral("./") + name}));
    QVERIFY2(host.status() == 0, qUtf8Printable(host.error()));
    QVERIFY(isPicture(folder, folder.path(name)));
    QVERIFY(QFileInfo(folder.path(name)).size() < before);
    QCOMPARE(filesIn(folder), QStringList(name));
}

void VxcompressTest::deliversTheSourceWhenItWouldGrow()
{
    const TestFolder folder;
    makePicture(folder, QStringLiteral("photo.jpg"));
    HostRun first(folder);
    QVERIFY(first.run(words("photo.jpg small.jpg -q 20")));
    HostRun second(folder);
    QVERIFY(second.run(words("small.jpg same.jpg -q 100")));
    QCOMPARE(second.status(), 0);
    QVERIFY2(second.output().contains(QStringLiteral("unchanged")), qUtf8Printable(second.output()));
    QCOMPARE(TestFolder::read(folder.path(QStringLiteral("same.jpg"))),
             TestFolder::read(folder.path(QStringLiteral("small.jpg"))));
}

void VxcompressTest::refusesBeforeAnythingBegins_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("said");
    QTest::newRow("no input") << "missing.jpg out.jpg"
                              << "no file missing.jpg";
    QTest::newRow("a folder for an input") << "folder out.jpg"
                                           << "not a regular file";
    QTest::newRow("an empty input") << "empty.jpg out.jpg"
                                    << "is empty";
    QTest::newRow("an existing output") << "photo.jpg taken.jpg"
                                        << "--force";
    QTest::newRow("a folder for an output") << "photo.jpg folder.jpg --force"
                                            << "not a regular file";
    QTest::newRow("no output folder") << "photo.jpg missing/out.jpg"
                                      << "no folder";
    QTest::newRow("an unusable quality") << "photo.jpg out.jpg -q best"
                                         << "0 to 100";
}

void VxcompressTest::refusesBeforeAnythingBegins()
{
    QFETCH(QString, line);
    QFETCH(QString, said);
    const TestFolder folder;
    folder.write(QStringLiteral("photo.jpg"), "a photo");
    folder.write(QStringLiteral("taken.jpg"), "mine");
    folder.write(QStringLiteral("empty.jpg"), "");
    QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("folder")));
    QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("folder.jpg")));
    const QStringList before = filesIn(folder);

    HostRun host(folder);
    QVERIFY(host.run(line.split(u' ')));
    QCOMPARE(host.status(), 2);
    QVERIFY2(host.error().startsWith(QStringLiteral("vxcompress: ")), qUtf8Printable(host.error()));
    QVERIFY2(host.error().contains(said), qUtf8Printable(host.error()));
    QCOMPARE(host.error().count(u'\n'), 1);
    QCOMPARE(host.output(), QString());
    QCOMPARE(filesIn(folder), before);
    QCOMPARE(TestFolder::read(folder.path(QStringLiteral("taken.jpg"))), QByteArray("mine"));
}

void VxcompressTest::aFailedJobLeavesTheOldFile_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("said");
    QTest::newRow("JPEG") << "out.jpg"
                          << "bad.jpg is damaged";
    QTest::newRow("PNG") << "out.png"
                         << "bad.jpg is damaged";
    QTest::newRow("WebP") << "out.webp"
                          << "is bad.jpg a whole image?";
}

void VxcompressTest::aFailedJobLeavesTheOldFile()
{
    QFETCH(QString, output);
    QFETCH(QString, said);
    const TestFolder folder;
    folder.write(QStringLiteral("bad.jpg"), "no picture at all");
    const QString old = folder.write(output, "old");
    HostRun host(folder);
    QVERIFY(host.run({QStringLiteral("bad.jpg"), output, QStringLiteral("--force")}));
    QCOMPARE(host.status(), 1);
    QVERIFY2(host.error().contains(said), qUtf8Printable(host.error()));
    QVERIFY2(host.error().contains(QStringLiteral("(code ")), qUtf8Printable(host.error()));
    QCOMPARE(TestFolder::read(old), QByteArray("old"));
    QCOMPARE(filesIn(folder), QStringList({QStringLiteral("bad.jpg"), output}));
    QCOMPARE(folder.leftovers(), QStringList());
}

void VxcompressTest::aFullDiskIsAFailure()
{
#ifdef Q_OS_WIN
    QSKIP("no limit to file sizes here");
#endif
    const TestFolder folder;
    const QString source = makePicture(folder, QStringLiteral("photo.png"), QStringLiteral("1280x960"));
    for (const char* output : {"out.jpg", "out.png", "out.webp"}) {
        const QString old = folder.write(QString::fromLatin1(output), "old");
        HostRun host(folder);
        // No room for the smallest of the results.
        host.start({source, QString::fromLatin1(output), QStringLiteral("-f")}, 8000);
        QVERIFY(host.waitForEnd());
        QCOMPARE(host.status(), 1);
        QVERIFY(!host.error().isEmpty());
        QCOMPARE(TestFolder::read(old), QByteArray("old"));
        QVERIFY(QFile::remove(old));
        QCOMPARE(filesIn(folder), QStringList(QStringLiteral("photo.png")));
        QCOMPARE(folder.leftovers(), QStringList());
    }
}

void VxcompressTest::standardOutputIsForResults()
{
    const TestFolder folder;
    makePicture(folder, QStringLiteral("drawing.png"));
    HostRun quiet(folder);
    QVERIFY(quiet.run(words("drawing.png quiet.png --quiet")));
    QCOMPARE(quiet.status(), 0);
    QCOMPARE(quiet.output() + quiet.error(), QString());
    HostRun verbose(folder);
    QVERIFY(verbose.run(words("drawing.png verbose.png --verbose")));
    QVERIFY(verbose.error().contains(QStringLiteral("pngquant")));
    QCOMPARE(verbose.output().count(u'\n'), 1);
}

QTEST_GUILESS_MAIN(VxcompressTest)
#include "vxcompress_test.moc"
