// How a run ends: what the host is told and what lies at the output path, for every way an encoder may end.
#include <QDir>
#include <QTest>

#include <iterator>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#include <unistd.h>
#endif

#include "tests/support/EncoderTest.h"
#include "tests/support/TaskProbe.h"

using namespace Qt::StringLiterals;
using Finish = TaskProbe::Finish;

namespace {

constexpr int kAborted = 6; // SIGABRT
constexpr int kCrash = -1;
const Finish kCorrupt(1, u"The file is corrupt or not a standard file format"_s);
const QString kFail = u"fail"_s;
const QByteArray kFullSize(kSource.size(), 'x');

// The output's suffix, what the encoder writes (FAKE_OUTPUT), how it ends, what the host is told, and what
// lies at the output path then: null for nothing, kOld for what was there before.
const struct
{
    const char* suffix;
    const char* name;
    const char* written;
    int exitCode;
    Finish finish;
    QByteArray content;
} kEnds[] = {
    {"jpg", "as large as the source", "+0", 0, {0, {}}, kFullSize},
    {"jpg", "one byte larger", "+1", 0, {0, {}}, kSource},
    {"jpg", "larger, with a warning", "+1", 3, {3, {}}, kSource},
    {"jpg", "larger, though the input is corrupt", "+1", 1, {1, {}}, kSource},
    {"jpg", "a corrupt input", "half", 1, kCorrupt, kOld},
    {"jpg", "a corrupt input and an empty file", "empty", 1, kCorrupt, kOld},
    {"jpg", "another encoder's code", "half", 25, {25, {}}, kResult},
    {"jpg", "exit code 9 is not a kill", "half", 9, {9, {}}, kResult},
    {"jpg", "no output, a failure", "none", 99, {2, {}}, kOld},
    {"jpg", "an empty output", "empty", 0, {2, {}}, kOld},
    {"jpg", "a crash half-way", "half", kCrash, {kAborted, {}}, kOld},
    {"jpg", "a crash after growing", "+1", kCrash, {kAborted, {}}, kOld},
    {"jpg", "a crash at once", "none", kCrash, {2, {}}, kOld},
    {"png", "one byte larger", "+1", 0, {0, {}}, kSource},
    {"png", "a corrupt input", "half", 25, kCorrupt, kOld},
    {"png", "another encoder's code", "half", 1, {1, {}}, kResult},
    {"png", "a crash half-way", "half", kCrash, {kAborted, {}}, kOld},
    {"webp", "as large as the source", "+0", 0, {0, u"successful"_s}, kFullSize},
    {"webp", "one byte larger", "+1", 0, {0, {}}, kSource},
    {"webp", "larger, with a warning", "+1", 3, {3, {}}, kSource},
    {"webp", "a failure without output", "none", 1, {1, kFail}, {}},
    {"webp", "exit code 9 is not a kill", "half", 9, {9, kFail}, {}},
    {"webp", "a crash half-way", "half", kCrash, {kAborted, kFail}, {}},
    {"webp", "a crash after growing", "+1", kCrash, {kAborted, {}}, {}},
};

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
    QTest::addColumn<int>("end");
    for (int i = 0; i < int(std::size(kEnds)); ++i)
        QTest::addRow("%s: %s", kEnds[i].suffix, kEnds[i].name) << i;
}

// Each row without and with a file at the output path, which must make no difference but for the file itself.
void TaskEndTest::judgesTheEncoder()
{
    QFETCH(const int, end);
    const auto& [suffix, name, written, exitCode, finish, content] = kEnds[end];
    fake().write(written);
    exitCode == kCrash ? fake().crash() : fake().exitWith(exitCode);
    const QString outputName = u"out."_s + QLatin1String(suffix);
    const QString output = folder().path(outputName);
    for (const QByteArray& old : {QByteArray(), kOld}) {
        if (!old.isNull())
            folder().write(outputName, old);
        TaskProbe probe(source(), output);
        QVERIFY(probe.run());
        QCOMPARE(probe.finish(), finish);
        const QByteArray expected = content == kOld ? old : content;
        QCOMPARE(TestFolder::read(output), expected);
        QCOMPARE(TestFolder::read(output).isNull(), expected.isNull());
        QCOMPARE(TestFolder::read(folder().path(u"source.bmp"_s)), kSource);
        QVERIFY(probe.progress().isEmpty());
        QFile::remove(output);
    }
}

void TaskEndTest::leavesAnUndeliverableOutputAsItWas_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<Finish>("finish");
    QTest::newRow("jpg: a result") << u"jpg"_s << QByteArray("+0") << Finish(2, {});
    QTest::newRow("jpg: the source") << u"jpg"_s << QByteArray("+1") << Finish(2, {});
    QTest::newRow("webp") << u"webp"_s << QByteArray("+0") << Finish(1, kFail);
}

void TaskEndTest::leavesAnUndeliverableOutputAsItWas()
{
    QFETCH(const QString, suffix);
    QFETCH(const QByteArray, written);
    QFETCH(const Finish, finish);
    fake().write(written);
    const QString name = u"a folder."_s + suffix;
    QVERIFY(QDir(folder().path()).mkdir(name));
    const QString inside = folder().write(name + u"/inside"_s, kOld);
    for (const QString& output : {folder().path(name), folder().path(u"no folder/out."_s + suffix)}) {
        TaskProbe probe(source(), output);
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
    QTest::newRow("missing") << u"missing.png"_s << QByteArray("half");
    QTest::newRow("missing, and a result") << u"missing.png"_s << QByteArray("+1");
    QTest::newRow("empty") << u"empty.png"_s << QByteArray("half");
    QTest::newRow("empty, and a result") << u"empty.png"_s << QByteArray("+1");
    QTest::newRow("no path") << QString() << QByteArray("half");
    QTest::newRow("a folder") << u"folder.png"_s << QByteArray("half");
#ifdef Q_OS_UNIX
    QTest::newRow("a pipe that nobody writes") << u"pipe.png"_s << QByteArray("none");
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
#endif
    fake().write(written);
    const QString output = folder().write(u"out.jpg"_s, kOld);
    TaskProbe probe(input.isEmpty() ? QString() : folder().path(input), output);
    QVERIFY(probe.run());
    const bool emptyWasGrown = input.startsWith(u'e') && written == "+1";
    QCOMPARE(probe.finish().first, emptyWasGrown ? 0 : 2);
    QCOMPARE(TestFolder::read(output), emptyWasGrown ? QByteArray("") : kOld);
}

void TaskEndTest::reportsAVanishedSource()
{
    // ffmpeg has read the source and written more than its size; then there is none to deliver in its place.
    fake().delay(300).write("+1");
    const QString output = folder().path(u"out.webp"_s);
    TaskProbe probe(source(), output);
    QVERIFY(probe->start());
    QVERIFY(QFile::remove(folder().path(u"source.bmp"_s)));
    QVERIFY(probe.waitForFinishes(1));
    QCOMPARE(probe.finish(), Finish(2, kFail));
    QVERIFY(!QFile::exists(output));
}

void TaskEndTest::survivesAFlood()
{
    fake().set("FAKE_STDERR_MB", "30");
    TaskProbe probe(source(), folder().path(u"out.jpg"_s));
    QVERIFY(probe.run());
    QCOMPARE(probe.finish().first, 0);
}

void TaskEndTest::writesTheLog()
{
    const QString normalEnd = u"onFinished: %1 , QProcess::NormalExit"_s;
    fake().exitWith(25).write("none");
    TaskProbe png(source(), folder().path(u"out.png"_s));
    QVERIFY(png.run());
    QStringList lines{u"pngquant: \""_s + QCoreApplication::applicationDirPath() + u"/pngquant\""_s,
                      normalEnd.arg(25)};
    QCOMPARE(messages().debugLines(), lines);

    fake().exitWith(4);
    TaskProbe webp(source(), folder().path(u"out.webp"_s));
    QVERIFY(webp.run());
    lines += {u"Can't kill mProcess"_s, normalEnd.arg(4)};
    QCOMPARE(messages().debugLines(), lines);
}

QTEST_GUILESS_MAIN(TaskEndTest)
#include "task_end_test.moc"
