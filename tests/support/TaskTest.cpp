#include "tests/support/TaskTest.h"

#include <QRegularExpression>
#include <QThread>

#include <atomic>

#include "compressor/CompressorEntry.h"

#ifdef __SANITIZE_THREAD__
#include <cstdarg>
#include <sched.h>
#endif

using namespace Qt::StringLiterals;

#ifdef __SANITIZE_THREAD__
extern "C" int __clone(int (*function)(void*), void* stack, int flags, void* argument, ...);

// Stands before the thread sanitizer's, which takes every clone() for a fork(): QProcess shares this
// process's memory with the child up to its exec, and the sanitizer would forget all other threads there.
extern "C" __attribute__((visibility("default"))) int clone(int (*function)(void*), void* stack, int flags,
                                                            void* argument, ...)
{
    va_list more;
    va_start(more, argument);
    auto* const parent = va_arg(more, pid_t*);
    auto* const storage = va_arg(more, void*);
    auto* const child = va_arg(more, pid_t*);
    va_end(more);
    return __clone(function, stack, flags, argument, parent, storage, child);
}
#endif

static std::atomic<QtMessageHandler> others = nullptr;

const QByteArray TaskTest::kSource =
    "YUV4MPEG2 W8 H8 F25:1 Ip A1:1 C420jpeg\n" + ("FRAME\n" + QByteArray(8 * 8 * 3 / 2, 'g')).repeated(50);
const QByteArray TaskTest::kResult(kSource.size() / 2, 'x');
const QByteArray TaskTest::kOld("the file of before");

const Kind kKinds[KindCount] = {
    {"jpg", "jpg", "cJpeg", false},
    {"png", "png", "pngquant", false},
    {"webp", "webp", "ffmpeg", true},
    {"video", "mp4", "ffmpeg", true, true},
    {"size", "mp4", "ffmpeg", true, true, true},
    {"sample", "mp4", "ffmpeg", true, true, false, true},
};

Finish Kind::told(int code) const
{
    const QString failure = !isVideo                       ? u"fail"_s
                            : code == FinishCode::kRefused ? u" Check the parameters please "_s
                            : code == FinishCode::kStopped ? u"Process Abort"_s
                                                           : u"Unknown mistake"_s;
    return {code, !isDirect ? QString() : code == 0 ? u"successful"_s : failure};
}

TaskProbe::TaskProbe(const Kind& kind, const QString& input, const QString& output, const QVariant& quality)
    : task(CompressorEntry()->createTask({{u"inputPath"_s, input},
                                          {u"outputPath"_s, output},
                                          {u"quality"_s, quality},
                                          {u"isPercentage"_s, kind.isPercentage},
                                          {u"scale"_s, u"1"_s}})),
      mKind(kind)
{
    // By name, as a host does that sees no meta-object of the library.
    connect(task.data(), SIGNAL(compressFinished(int, QString)), SLOT(onCompressFinished(int, QString)));
    connect(task.data(), SIGNAL(compressProcess(float)), SLOT(onCompressProcess(float)));
}

bool TaskProbe::ends(qsizetype count)
{
    // Where one end never comes, others will not either.
    static int limitMs = 30000;
    if (!QTest::qWaitFor([this, count] { return finishes.size() >= count; }, limitMs))
        limitMs = 1000;
    QCoreApplication::processEvents();
    return finishes.size() == count;
}

void TaskProbe::onCompressFinished(int finishedCode, const QString& errorDescription)
{
    finishes.append({finishedCode, errorDescription});
    progressAtFinish = progress.size();
    if (const auto reaction = std::exchange(onFinish, {}))
        reaction();
}

void TaskTest::eachKind(const QList<const char*>& cases, int first, int last)
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QByteArray>("testCase");
    for (int kind = first; kind <= last; ++kind) {
        for (const char* name : cases) {
            if (kKinds[kind].isVideo || !strstr(name, "video"))
                QTest::addRow("%s: %s", kKinds[kind].name, name) << kind << QByteArray(name);
        }
    }
}

void TaskTest::eachKindOf(const char* table)
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QStringList>("cells");
    for (const QStringList& row : rowsOf(table)) {
        for (int kind = 0; kind < KindCount; ++kind) {
            const QStringList kinds = row[1].split(u' ');
            if (kinds.contains(u"all") || kinds.contains(QLatin1String(kKinds[kind].name)) ||
                (kKinds[kind].isVideo && kinds.contains(u"videos")))
                QTest::addRow("%s: %s", kKinds[kind].name, qUtf8Printable(row[0])) << kind << row;
        }
    }
}

const Kind& TaskTest::kind()
{
    QFETCH(const int, kind);
    return kKinds[kind];
}

QByteArray TaskTest::testCase()
{
    QFETCH(QByteArray, testCase);
    return testCase;
}

void TaskTest::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    debugLines.clear();
    others =
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& context, const QString& line) {
            if (type != QtDebugMsg)
                others.load()(type, context, line);
            else if (QThread::currentThread() == qApp->thread())
                debugLines.append(line);
        });
    folder.emplace();
    fake.emplace();
    for (const Kind& kind : kKinds)
        folder->write(u"a source."_s + QLatin1String(kind.suffix), kSource);
}

void TaskTest::cleanup()
{
    QTRY_VERIFY2(fake->allGone(), "an encoder outlived its task");
    QTRY_COMPARE(folder->leftovers().join(u' '), QString());
    for (const QString& file : folder->leftovers(QString()).filter(u"a source"_s))
        QVERIFY2(TestFolder::read(folder->path(file)) == kSource, qPrintable(file));
    fake.reset();
    folder.reset();
    qInstallMessageHandler(others);
}
