// How a run ends: what the host is told and what lies at the output path, for every way an encoder may end.
#include <QDir>
#include <QTest>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#include <unistd.h>
#endif

#include "tests/support/EncoderTest.h"
#include "tests/support/TaskProbe.h"

using namespace Qt::StringLiterals;
using Finish = TaskProbe::Finish;

namespace {

constexpr int kSourceBytes = 1000;
constexpr int kAborted = 6; // SIGABRT

const QByteArray kSource(kSourceBytes, 's');
const QByteArray kOld("the file of before");
const QString kCorrupt = u"The file is corrupt or not a standard file format"_s;
const QString kFail = u"fail"_s;
const QString kSuccessful = u"successful"_s;

enum Content
{
    Result, // as the encoder wrote it
    Source,
    Old, // as it was before the run: absent, where nothing was
    Absent
};

struct Row
{
    const char* name;
    QByteArray written; // FAKE_OUTPUT
    int exitCode;
    bool crash;
    Finish finish;
    Content content;
};

void addRows(const char* suffix, const QList<Row>& rows)
{
    for (const Row& row : rows) {
        QTest::addRow("%s: %s", suffix, row.name)
            << QString::fromLatin1(suffix) << row.written << row.exitCode << row.crash << row.finish
            << static_cast<int>(row.content);
    }
}

void addWorkspaceRows(const char* suffix, int corruptCode)
{
    const int otherCorruptCode = corruptCode == 1 ? 25 : 1;
    addRows(suffix,
            {
                {"as large as the source", "+0", 0, false, {0, {}}, Result},
                {"one byte larger", "+1", 0, false, {0, {}}, Source},
                {"larger, with a warning", "+1", 3, false, {3, {}}, Source},
                {"larger, though the input is corrupt", "+1", corruptCode, false, {corruptCode, {}}, Source},
                {"a corrupt input", "half", corruptCode, false, {1, kCorrupt}, Old},
                {"a corrupt input and an empty file", "empty", corruptCode, false, {1, kCorrupt}, Old},
                {"another encoder's code", "half", otherCorruptCode, false, {otherCorruptCode, {}}, Result},
                {"exit code 9 is not a kill", "half", 9, false, {9, {}}, Result},
                {"no output", "none", 0, false, {2, {}}, Old},
                {"no output, a failure", "none", 99, false, {2, {}}, Old},
                {"an empty output", "empty", 0, false, {2, {}}, Old},
                {"a crash half-way", "half", 0, true, {kAborted, {}}, Old},
                {"a crash after growing", "+1", 0, true, {kAborted, {}}, Old},
                {"a crash at once", "none", 0, true, {2, {}}, Old},
            });
}

QByteArray contentOf(Content content, const QByteArray& written, const QByteArray& old)
{
    switch (content) {
    case Result:
        return QByteArray(written == "half" ? kSourceBytes / 2 : kSourceBytes, 'x');
    case Source:
        return kSource;
    case Old:
        return old;
    case Absent:
        break;
    }
    return {};
}

} // namespace

class TaskEndTest : public EncoderTest
{
    Q_OBJECT

private slots:
    void judgesTheEncoder_data();
    void judgesTheEncoder();
    void leavesAnUndeliverableOutputAsItWas_data();
    void leavesAnUndeliverableOutputAsItWas();
    void survivesBadInputs_data();
    void survivesBadInputs();
    void reportsAVanishedSource();
    void survivesAFlood();
    void writesTheLog();
};

void TaskEndTest::judgesTheEncoder_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<bool>("crash");
    QTest::addColumn<Finish>("finish");
    QTest::addColumn<int>("content");
    addWorkspaceRows("jpg", 1);
    addWorkspaceRows("png", 25);
    addRows("webp", {
                        {"as large as the source", "+0", 0, false, {0, kSuccessful}, Result},
                        {"one byte larger", "+1", 0, false, {0, {}}, Source},
                        {"larger, with a warning", "+1", 3, false, {3, {}}, Source},
                        {"a failure", "half", 1, false, {1, kFail}, Absent},
                        {"a failure without output", "none", 1, false, {1, kFail}, Absent},
                        {"exit code 9 is not a kill", "half", 9, false, {9, kFail}, Absent},
                        {"a crash half-way", "half", 0, true, {kAborted, kFail}, Absent},
                        {"a crash after growing", "+1", 0, true, {kAborted, {}}, Absent},
                    });
}

// Each row without and with a file at the output path, which must make no difference but for the file itself.
void TaskEndTest::judgesTheEncoder()
{
    QFETCH(const QString, suffix);
    QFETCH(const QByteArray, written);
    QFETCH(const int, exitCode);
    QFETCH(const bool, crash);
    QFETCH(const Finish, finish);
    QFETCH(const int, content);
    fake().write(written).exitWith(exitCode);
    if (crash)
        fake().crash();
    const QString source = folder().write(u"source.bmp"_s, kSource);
    const QString output = folder().path(u"out."_s + suffix);
    for (const QByteArray& old : {QByteArray(), kOld}) {
        if (!old.isNull())
            folder().write(u"out."_s + suffix, old);
        TaskProbe probe(source, output);
        QVERIFY(probe.run());
        QCOMPARE(probe.finish(), finish);
        QCOMPARE(TestFolder::read(output), contentOf(Content(content), written, old));
        QCOMPARE(TestFolder::read(output).isNull(), contentOf(Content(content), written, old).isNull());
        QCOMPARE(TestFolder::read(source), kSource);
        QVERIFY(probe.progress().isEmpty());
        QFile::remove(output);
    }
}

void TaskEndTest::leavesAnUndeliverableOutputAsItWas_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<Finish>("finish");
    for (const char* suffix : {"jpg", "png"}) {
        QTest::addRow("%s: a result", suffix)
            << QString::fromLatin1(suffix) << QByteArray("+0") << Finish(2, {});
        QTest::addRow("%s: the source", suffix)
            << QString::fromLatin1(suffix) << QByteArray("+1") << Finish(2, {});
    }
    QTest::newRow("webp") << "webp" << QByteArray("+0") << Finish(1, kFail);
}

void TaskEndTest::leavesAnUndeliverableOutputAsItWas()
{
    QFETCH(const QString, suffix);
    QFETCH(const QByteArray, written);
    QFETCH(const Finish, finish);
    fake().write(written);
    const QString source = folder().write(u"source.bmp"_s, kSource);
    const QString name = u"a folder."_s + suffix;
    QVERIFY(QDir(folder().path()).mkdir(name));
    const QString inside = folder().write(name + u"/inside"_s, kOld);
    for (const QString& output : {folder().path(name), folder().path(u"no folder/out."_s + suffix)}) {
        TaskProbe probe(source, output);
        QVERIFY(probe.run());
        QCOMPARE(probe.finish(), finish);
    }
    QCOMPARE(TestFolder::read(inside), kOld);
    QCOMPARE(QDir(folder().path(name)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
    QVERIFY(!QFile::exists(folder().path(u"no folder"_s)));
}

void TaskEndTest::survivesBadInputs_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QByteArray>("written");
    for (const char* written : {"half", "+1", "none"}) {
        QTest::addRow("missing, %s", written) << "missing.png" << QByteArray(written);
        QTest::addRow("empty, %s", written) << "empty.png" << QByteArray(written);
    }
    QTest::newRow("no path") << QString() << QByteArray("half");
    QTest::newRow("a folder") << "folder.png" << QByteArray("half");
#ifdef Q_OS_UNIX
    QTest::newRow("a pipe that nobody writes") << "pipe.png" << QByteArray("none");
    QTest::newRow("unreadable") << "unreadable.png" << QByteArray("half");
#endif
}

// Nothing comes of them, one end is told, and the old file stays.
void TaskEndTest::survivesBadInputs()
{
    QFETCH(const QString, input);
    QFETCH(const QByteArray, written);
    folder().write(u"empty.png"_s, {});
    QVERIFY(QDir(folder().path()).mkdir(u"folder.png"_s));
#ifdef Q_OS_UNIX
    QCOMPARE(mkfifo(QFile::encodeName(folder().path(u"pipe.png"_s)).constData(), 0600), 0);
    folder().write(u"unreadable.png"_s, kSource);
    QFile::setPermissions(folder().path(u"unreadable.png"_s), {});
    if (input.startsWith(u'u') && geteuid() == 0)
        QSKIP("root reads everything");
#endif
    fake().write(written);
    for (const char* suffix : {"jpg", "png"}) {
        const QString output = folder().write(u"out."_s + QLatin1String(suffix), kOld);
        TaskProbe probe(input.isEmpty() ? QString() : folder().path(input), output);
        QVERIFY(probe.run());
        const bool emptyWasGrown = input.startsWith(u'e') && written == "+1";
        QCOMPARE(probe.finish().first, emptyWasGrown ? 0 : 2);
        QCOMPARE(TestFolder::read(output), emptyWasGrown ? QByteArray("") : kOld);
    }
}

void TaskEndTest::reportsAVanishedSource()
{
    // ffmpeg has read the source and written more than its size; then there is none to deliver in its place.
    fake().delay(300).write("+1");
    const QString output = folder().path(u"out.webp"_s);
    TaskProbe probe(folder().write(u"source.bmp"_s, kSource), output);
    QVERIFY(probe->start());
    QVERIFY(QFile::remove(folder().path(u"source.bmp"_s)));
    QVERIFY(probe.waitForFinishes(1));
    QCOMPARE(probe.finish(), Finish(2, kFail));
    QVERIFY(!QFile::exists(output));
}

void TaskEndTest::survivesAFlood()
{
    fake().set("FAKE_STDERR_MB", "30");
    const QString source = folder().write(u"source.bmp"_s, kSource);
    for (const char* suffix : {"jpg", "webp"}) {
        TaskProbe probe(source, folder().path(u"out."_s + QLatin1String(suffix)));
        QVERIFY(probe.run());
        QCOMPARE(probe.finish().first, 0);
    }
}

void TaskEndTest::writesTheLog()
{
    const QString source = folder().write(u"source.bmp"_s, kSource);
    const QString normalEnd = u"onFinished: %1 , QProcess::NormalExit"_s;
    TaskProbe jpeg(source, folder().path(u"out.jpg"_s));
    QVERIFY(jpeg.run());
    QCOMPARE(messages().debugLines(), QStringList(normalEnd.arg(0)));

    messages().clear();
    fake().exitWith(25).write("none");
    TaskProbe png(source, folder().path(u"out.png"_s));
    QVERIFY(png.run());
    const QString tool = QCoreApplication::applicationDirPath() + u"/pngquant"_s;
    QCOMPARE(messages().debugLines(), QStringList({u"pngquant: \""_s + tool + u'"', normalEnd.arg(25)}));

    messages().clear();
    fake().exitWith(0);
    QVERIFY(jpeg.run());
    QCOMPARE(messages().debugLines(), QStringList());

    fake().exitWith(4);
    TaskProbe webp(source, folder().path(u"out.webp"_s));
    QVERIFY(webp.run());
    QCOMPARE(messages().debugLines(), QStringList({u"Can't kill mProcess"_s, normalEnd.arg(4)}));
}

QTEST_GUILESS_MAIN(TaskEndTest)
#include "task_end_test.moc"
