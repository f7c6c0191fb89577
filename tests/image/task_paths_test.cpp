// What reaches an encoder, and what happens when source and output are hard to name or hard to keep apart.
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTest>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/resource.h>
#include <unistd.h>
#endif

#include "tests/support/EncoderTest.h"
#include "tests/support/TaskProbe.h"

using namespace Qt::StringLiterals;
using Finish = TaskProbe::Finish;

class TaskPathsTest : public EncoderTest
{
    Q_OBJECT

private slots:
    void passesTheArguments_data();
    void passesTheArguments();
    void takesAnyName_data();
    void takesAnyName();
    void takesRelativeNames();
    void replacesTheSourceInPlace_data() { addWays({"smaller", "larger", "no output", "crash"}); }
    void replacesTheSourceInPlace();
    void refusesToEncodeOntoTheSource_data() { addWays({"webp"}); }
    void refusesToEncodeOntoTheSource();
#ifdef Q_OS_UNIX
    void keepsTheOldFileWhenTheDiskIsFull();
    void encodesNoPartOfASource();
#endif

private:
    static void addWays(const QList<const char*>& ends);
    // An output path that leads to the source in the given way.
    QString aliasOf(const QString& source, const QString& way);
};

void TaskPathsTest::passesTheArguments_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<QVariant>("quality");
    QTest::addColumn<QString>("tool");
    QTest::addColumn<QString>("arguments");
    const QString cjpeg =
        u"-outfile|WORK/temporaryImage_2.BMP|-quality|%1-baseline|WORK/temporaryImage_1.BMP"_s;
    const QString pngquant =
        u"--quality|0-%1|--force|WORK/temporaryImage_1.BMP|-o|WORK/temporaryImage_2.BMP"_s;
    const QString ffmpeg = u"-i|HERE/a source.BMP|-y|-c:v|libwebp|-quality|%1|HERE/out.webp"_s;
    QTest::newRow("jpg, a number") << "out.jpg" << QVariant(75) << "cJpeg" << cjpeg.arg(u"75|"_s);
    QTest::newRow("jpeg, no quality") << "out.jpeg" << QVariant() << "cJpeg" << cjpeg.arg(u""_s);
    QTest::newRow("png, a text") << "out.png" << QVariant(u"80"_s) << "pngquant" << pngquant.arg(u"80"_s);
    QTest::newRow("webp") << "out.webp" << QVariant(u"60"_s) << "ffmpeg" << ffmpeg.arg(u"60"_s);
}

void TaskPathsTest::passesTheArguments()
{
    QFETCH(const QString, output);
    QFETCH(const QVariant, quality);
    QFETCH(const QString, tool);
    QFETCH(const QString, arguments);
    TaskProbe probe(folder().write(u"a source.BMP"_s, kSource), folder().path(output), quality);
    QVERIFY(probe.run());
    QCOMPARE(fake().runs().size(), 1);
    const FakeEncoder::Run run = fake().runs()[0];
    QCOMPARE(QFileInfo(run.tool).completeBaseName(), tool);
    QString given = run.arguments.join(u'|');
    // The workspace lies directly in the temporary location and has a name of its own.
    const QRegularExpression workspace(QRegularExpression::escape(folder().temporaryPath()) +
                                       u"/compress[^/|]+/"_s);
    given.replace(workspace, u"WORK/"_s).replace(folder().path(), u"HERE"_s);
    QCOMPARE(given, arguments);
}

void TaskPathsTest::takesAnyName_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("blanks") << " two  blanks ";
    QTest::newRow("non-ASCII") << u"f\u00f6t\u00f8 \u5199\u771f \U0001F4F7"_s;
    QTest::newRow("a dash") << "-quality";
    QTest::newRow("200 characters") << QString(200, u'n');
#ifndef Q_OS_WIN
    QTest::newRow("a quote first") << "\"a b";
    QTest::newRow("a quote last") << "a b\"";
    QTest::newRow("three quotes and a blank") << "\"\"\" a";
    QTest::newRow("quoted") << "\"a b\"";
    QTest::newRow("a backslash") << "a\\\" b\\";
#endif
}

// As a file's name before the suffix, and as a folder's.
void TaskPathsTest::takesAnyName()
{
    QFETCH(const QString, name);
    QVERIFY(QDir(folder().path()).mkdir(name));
    const QString base = name + u'/' + name;
    const QString source = folder().write(base + u".bmp"_s, kSource);
    for (const QString& suffix : {u".jpg"_s, u".webp"_s}) {
        TaskProbe probe(source, folder().path(base + suffix));
        QVERIFY(probe.run());
        QCOMPARE(probe.finish().first, 0);
        QCOMPARE(TestFolder::read(folder().path(base + suffix)), kResult);
    }
    const QStringList arguments = fake().runs().last().arguments;
    QCOMPARE(arguments.value(1), source);
    QCOMPARE(arguments.size(), 8);
    QCOMPARE(QDir(folder().path(name)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 3);
}

void TaskPathsTest::takesRelativeNames()
{
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(folder().path()));
    folder().write(u"-in.bmp"_s, kSource);
    TaskProbe probe(u"-in.bmp"_s, u"-out.webp"_s);
    QVERIFY(probe.run());
    QCOMPARE(TestFolder::read(folder().path(u"-out.webp"_s)), kResult);
    const QStringList arguments = fake().runs().last().arguments;
    QVERIFY(!arguments.value(1).startsWith(u'-') && !arguments.last().startsWith(u'-'));
    QVERIFY(QDir::setCurrent(before));
}

QString TaskPathsTest::aliasOf(const QString& source, const QString& way)
{
    const QFileInfo file(source);
    QString alias = folder().path(u"alias."_s + file.suffix());
    if (way == u"same name")
        return source;
    if (way == u"other spelling")
        return file.path() + u"/./tmp/../"_s + file.fileName();
    if (way == u"symbolic link")
        QFile::link(source, alias);
#ifdef Q_OS_UNIX
    else if (::link(QFile::encodeName(source).constData(), QFile::encodeName(alias).constData()) != 0)
        qFatal("no hard link");
#endif
    return alias;
}

void TaskPathsTest::addWays(const QList<const char*>& ends)
{
    QTest::addColumn<QString>("way");
    QTest::addColumn<QByteArray>("end");
    for (const char* way : {"same name", "other spelling", "symbolic link", "hard link"}) {
        for (const char* end : ends)
            QTest::addRow("%s, %s", way, end) << QString::fromLatin1(way) << QByteArray(end);
    }
}

void TaskPathsTest::replacesTheSourceInPlace()
{
    QFETCH(const QString, way);
    QFETCH(const QByteArray, end);
    if (end == "crash")
        fake().crash();
    else
        fake().write(end == "larger" ? "+1" : end == "no output" ? "none" : "half");
    const QString source = folder().write(u"photo.jpg"_s, kSource);
    const QString output = aliasOf(source, way);
    const QDateTime before = QDateTime::fromSecsSinceEpoch(1000000000);
    {
        QFile file(source);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(before, QFileDevice::FileModificationTime));
    }
    TaskProbe probe(source, output);
    QVERIFY(probe.run());
    QCOMPARE(probe.finish().first, end == "crash" ? 6 : end == "no output" ? 2 : 0);
    const bool delivered = end == "smaller";
    QCOMPARE(TestFolder::read(output), delivered ? kResult : kSource);
    if (!delivered || way == u"hard link")
        QCOMPARE(TestFolder::read(source), kSource);
    // Not even written again with its own content, which would lose its time, owner and links.
    if (!delivered)
        QCOMPARE(QFileInfo(source).lastModified(), before);
}

void TaskPathsTest::refusesToEncodeOntoTheSource()
{
    QFETCH(const QString, way);
    const QString source = folder().write(u"photo.webp"_s, kSource);
    const QString output = aliasOf(source, way);
    TaskProbe probe(source, output);
    QVERIFY(probe.run());
    QCOMPARE(probe.finish(), Finish(1, u"fail"_s));
    QVERIFY(fake().runs().last().arguments.contains(u"-n"_s));
    QVERIFY(!fake().runs().last().arguments.contains(u"-y"_s));

    // Neither a stop nor a release takes the source for a failed output.
    fake().delay(60000);
    QVERIFY(probe->start());
    probe->stop();
    QCOMPARE(probe.finish(), Finish(62097, u"fail"_s));
    QVERIFY(probe->start());
    probe.release();
    QCOMPARE(TestFolder::read(source), kSource);
    QCOMPARE(TestFolder::read(output), kSource);
}

#ifdef Q_OS_UNIX

// No file grows past the given size for as long as this lives.
class FullDisk
{
public:
    explicit FullDisk(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &mBefore);
        const rlimit full{bytes, mBefore.rlim_max};
        setrlimit(RLIMIT_FSIZE, &full);
    }
    ~FullDisk() { setrlimit(RLIMIT_FSIZE, &mBefore); }
    Q_DISABLE_COPY_MOVE(FullDisk)

private:
    rlimit mBefore{};
};

void TaskPathsTest::keepsTheOldFileWhenTheDiskIsFull()
{
    const QString output = folder().write(u"out.jpg"_s, kOld);
    TaskProbe probe(folder().write(u"source.bmp"_s, QByteArray(5000, 's')), output);
    fake().delay(300);
    QVERIFY(probe->start());
    {
        // The encoder runs already, so only this process feels it.
        const FullDisk full(100);
        QVERIFY(probe.waitForFinishes(1));
    }
    QCOMPARE(probe.finish(), Finish(2, {}));
    QCOMPARE(TestFolder::read(output), kOld);
    QCOMPARE(QDir(folder().path()).entryList({u"out*"_s}).size(), 1);
}

// A source that was copied in part only would make a smaller picture, and in place the only one.
void TaskPathsTest::encodesNoPartOfASource()
{
    const QString photo = folder().write(u"photo.jpg"_s, kSource);
    TaskProbe probe(photo, photo);
    {
        const FullDisk full(100);
        QVERIFY(probe.run());
    }
    QCOMPARE(probe.finish(), Finish(2, {}));
    QCOMPARE(TestFolder::read(photo), kSource);
}

#endif

QTEST_GUILESS_MAIN(TaskPathsTest)
#include "task_paths_test.moc"
