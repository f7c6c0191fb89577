// What becomes of a task, whatever its encoder, its host and its files do: a table of scenarios over all
// kinds of task. The program has a folder of its own, with the encoders that a scenario puts there.
#include <QDeadlineTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QThread>
#include <QtEndian>

#include <atomic>
#include <latch>
#include <thread>
#include <vector>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <csignal>
#include <dlfcn.h>
#include <sys/statvfs.h>
#endif

#include "process/Programs.h"
#include "tests/support/TaskTest.h"

using namespace Qt::StringLiterals;

// The fault, the kinds, and what happens, step by step (perform() has them all); then the codes that the host
// is told, and what is at the output path. A/B is A for kinds that work on copies and B for the others, "0?2"
// is 0 or 2; a code may have its text behind a colon. What is left: "old", or "gone" where the encoder may
// have touched it; "out", what the encoder wrote last; "source"; "none". A first step "everywhere" repeats
// the row over an old file and over a link.
const char kScenarios[] = R"(
as large as the source counts as larger       | all          | everywhere out=+0 run             | 0         | out
a larger image replaces the source          | jpg png webp | everywhere out=+1 run             | 0:no      | source
a warning lets a larger image through       | jpg png webp | everywhere out=+1 exit=4 run      | 4:no      | source
a larger video is lost                         | videos        | everywhere out=+1 run             | 0         | out
corrupt input counts before larger image    | jpg          | everywhere out=+1 exit=1 run      | 1:no      | source
a corrupt input's image is delivered        | jpg          | everywhere out=half exit=1 run    | 1:corrupt | old
a corrupt input's image is delivered        | png          | everywhere out=half exit=25 run   | 1:corrupt | old
a corrupt input is missed beside an empty one | jpg          | everywhere out=empty exit=1 run   | 1:corrupt | old
another encoder's code means corrupt          | jpg          | everywhere out=half exit=25 run   | 25        | out
another encoder's code means corrupt          | png          | everywhere out=half exit=1 run    | 1         | out
a failure without output goes on              | jpg png      | everywhere out=none exit=99 run   | 2         | old
an empty file is a result                     | jpg png      | everywhere out=empty run          | 2         | old
exit code 9 is a kill                         | jpg png      | everywhere out=half exit=9 run    | 9         | out
exit code 9 is a kill                         | webp videos   | everywhere out=half exit=9 run    | 9         | none
a failure leaves half an output               | webp videos   | everywhere out=half exit=1 run    | 1         | none
a failure leaves the old output               | webp videos   | everywhere out=none exit=1 run    | 1         | none
a crash delivers half an image               | jpg png      | everywhere out=half end=crash run | crash     | old
a crash leaves half an output                 | webp videos   | everywhere out=half end=crash run | crash     | none
a crash at once has a result                  | jpg png      | everywhere out=none end=crash run | 2         | old
a crash after growing delivers the source     | jpg png      | everywhere out=+1 end=crash run   | crash     | old
a crash after growing delivers the source     | webp         | everywhere out=+1 end=crash run   | crash:no  | none
killed from outside                           | all          | old end=hang begin written kill=9  | stopped  | gone
ended from outside                            | all          | old end=hang begin written kill=15 | 15       | gone
a hangup counts as corrupt input              | jpg          | old end=hang begin written kill=1  | 1:no     | old
a success without ffmpeg's end marker is lost | videos        | old progress=500 begin ends        | 0         | out

the output is a folder              | all          | output=folder run                   | 2/1       | none
the output is a folder, and larger  | all          | output=folder out=+1 run            | 2/1       | none
the output's folder is missing      | all          | output=missing/out run              | 2/1       | none
the input is missing                | jpg png videos | old input=missing out=none exit=0/1 run | 2/1   | gone
the input is empty                  | jpg png videos | old input=empty out=none exit=0/1 run   | 2/1   | gone
the input is a folder               | jpg png videos | old input=folder out=none exit=0/1 run  | 2/1   | gone
there is no input path              | jpg png videos | old input= out=none exit=0/1 run        | 2/1   | gone
the input is a pipe that nobody writes | jpg png   | old input=pipe out=none run         | 2         | old
the input is a pipe that nobody writes | webp videos | old input=pipe run                 | 1         | old
the output cannot be told from the source | webp videos | old untellable run               | 1         | old
a result without a source           | jpg png      | old input=missing out=+1 exit=0 run | 2?1:corrupt | old
the source vanishes under an encoder | webp        | out=+1 end=hang begin written vanish open ends | 2 | none
full when the source is copied      | jpg png      | old limit=4000 run limit=           | 2?1:corrupt | old
full when the result is delivered   | jpg png      | old begin limit=100 ends limit=     | 2         | old
full, and the encoder doesn't say so | webp videos  | old full out=cut run                | 1         | none
nearly full, and the output is whole | webp videos | old full out=whole run              | 0         | out
no workspace can be made            | jpg png      | old tmp=file run tmp=               | 2?1:corrupt | old

a stop at once                          | all   | old end=hang begin stop stop                | stopped?2/stopped | gone
a stop before there is an output waits  | videos | delay=60000 begin started stop told=0       | stopped   | none
a stop before there is an output        | jpg png webp | delay=60000 begin started stop told=1 | 2/stopped | none
a stop half-way leaves its output       | all   | old end=hang begin written stop told=1 stop | stopped   | gone
a stop of one that dies late, told twice | all  | old end=hang begin written late stop told=0 stop | stopped | gone
a stop behind an end that nobody saw    | all   | old begin blind stop told=1 stop            | stopped   | gone
a stop without a run removes            | all   | old stop told=0                             |           | old
a stop in and behind the finish removes | all   | at-finish=stop run stop                     | 0         | out

a release at once                       | all   | old end=hang begin release                  |           | gone
a release while running                 | all   | old end=hang begin written release          |           | gone
a release of one that dies late         | all   | old end=hang begin written late release     |           | gone
a release in another thread             | all   | old end=hang begin written release-there    |           | gone
a release in the finish                 | all   | old at-finish=release begin ends            | 0         | out
a release in the finish in a stop       | all   | old end=hang begin written at-finish=release stop  | stopped | gone
a release in the finish in a start      | all   | old end=hang begin written at-finish=release begin | stopped | gone
a release in such a finish, dying late  | all   | old end=hang begin written late at-finish=release begin | stopped | gone
a release behind the end                | jpg png webp | run release                          | 0         | out
a release behind the end is held up     | videos | progress=500 run release           | 0         | out
a release in a progress                 | videos | old progress=500 end=hang at-progress=release begin released | | gone
a release in the last progress          | videos | old at-progress=release begin released      |           | out

a start in the finish                   | all | at-finish=again begin                       | 0 0       | out
a start while running                   | all | end=hang begin written again                | stopped 0 | out
a start while running and in the finish | all | end=hang begin written at-finish=again begin ends runs=2 | stopped 0 | out
a start over one that dies late         | all | end=hang begin written late again told=1    | stopped 0 | out
two encoders write one output           | webp videos | end=hang begin written late again started alone | stopped 0 | out
and another in its finish               | all | end=hang begin written late at-finish=again begin | stopped 0 | out
and a stop in its finish                | all | end=hang begin written late at-finish=stop again  | stopped 0 | out

a missing encoder                       | all | old stage=missing cannot-begin stop told=0  |           | old
an encoder that is garbage              | all | old stage=garbage begin told=0              | -2        | old
an encoder without its interpreter      | all | old stage=no-interpreter begin told=0       | -2        | old
an encoder that nobody may start        | all | old stage=no-permission begin told=0        | -2        | old
an encoder that is a folder             | all | old stage=folder begin told=0               | -2        | old
an encoder that is repaired             | all | stage=garbage begin ends stage=works run    | -2 0      | out
a stop of a failed start                | all | old stage=no-interpreter begin stop         | -2        | old
a start of a failed start               | all | old stage=no-interpreter begin begin        | -2 -2     | old
a release of a failed start             | all | old stage=no-interpreter begin release      |           | old
a release in a failed start's finish    | all | old stage=no-interpreter at-finish=release begin ends | -2 | old
)";

#ifdef Q_OS_WIN
constexpr int kCrashCode = 3;
#else
constexpr int kCrashCode = SIGTERM;
#endif
static std::atomic<bool> filesAreUnknown = false;
static std::atomic<bool> disksAreFull = false;
// For how long encoders live on that this thread kills.
static thread_local std::chrono::microseconds lastBreath{0};

#ifdef Q_OS_UNIX
// They stand before the C library's; two of them cannot have the name of their structure.
extern "C" int toldStat(const char*, struct stat*) __asm__("stat");
extern "C" __attribute__((visibility("default"))) int toldStat(const char* path, struct stat* status)
{
    static const auto original =
        reinterpret_cast<int (*)(const char*, struct stat*)>(dlsym(RTLD_NEXT, "stat"));
    if (!filesAreUnknown)
        return original(path, status);
    errno = EIO;
    return -1;
}
extern "C" int toldSpace(const char*, struct statvfs*) __asm__("statvfs");
extern "C" __attribute__((visibility("default"))) int toldSpace(const char* path, struct statvfs* space)
{
    static const auto original =
        reinterpret_cast<int (*)(const char*, struct statvfs*)>(dlsym(RTLD_NEXT, "statvfs"));
    const int result = original(path, space);
    if (disksAreFull)
        space->f_bavail = 4;
    return result;
}
extern "C" __attribute__((visibility("default"))) int kill(pid_t process, int signal)
{
    static const auto original = reinterpret_cast<int (*)(pid_t, int)>(dlsym(RTLD_NEXT, "kill"));
    if (signal != SIGKILL || lastBreath.count() == 0)
        return original(process, signal);
    std::thread([process, length = lastBreath] {
        std::this_thread::sleep_for(length);
        original(process, SIGKILL);
    }).detach();
    return 0;
}

// Behind Qt's own: who gives a dying encoder's process to another thread loses the processor to that one.
extern "C" void moveToThread(QObject*, QThread*) __asm__("_ZN7QObject12moveToThreadEP7QThread");
extern "C" __attribute__((visibility("default"))) void moveToThread(QObject* object, QThread* thread)
{
    static const auto original = reinterpret_cast<void (*)(QObject*, QThread*)>(
        dlsym(RTLD_NEXT, "_ZN7QObject12moveToThreadEP7QThread"));
    original(object, thread);
    if (lastBreath.count() > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
}
#endif

class TaskScenariosTest : public TaskTest
{
    Q_OBJECT

    std::unique_ptr<TaskProbe> mProbe;
    std::atomic<bool> mReleased = false;
    QString mInput;
    QString mOutput;
    QByteArray mOut; ///< what the encoder writes
    int mEncoders = 0;

    // Of "copies/direct" what is for the row's kind.
    static QString forKind(const QString& text)
    {
        return text.section(u'/', kind().isDirect ? -1 : 0).section(u'/', 0, 0);
    }

    // Makes the kind's encoder what is said.
    static bool stage(const QString& what)
    {
        const QString tool = QCoreApplication::applicationDirPath() + u'/' + Programs::fileName(kind().tool);
        QDir().rmdir(tool);
        QFile file(tool);
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner); // else Windows would keep it
        file.remove();
        if (what == u"works")
            return QFile::copy(QString::fromLocal8Bit(VXC_FAKE_ENCODER), tool);
        if (what.startsWith(u"folder"))
            return QDir().mkdir(tool);
        if (what == u"missing")
            return true;
        const bool isOpen = file.open(QIODevice::WriteOnly);
        file.write(what == u"no-interpreter" ? "#!/no/such/interpreter\n" : "no program");
        file.setPermissions(what == u"no-permission" ? QFile::ReadOwner : QFile::ExeOwner);
        return isOpen;
    }

    // A result that is real, or has lost its end; less its suffix.
    QByteArray model(const QString& name) const
    {
        QByteArray content = TestFolder::read(media("hd-1080.mp4"));
        if (!kind().isVideo) {
            content = QByteArray("RIFF....WEBP").append(kResult.chopped(kResult.size() % 2));
            qToLittleEndian(quint32(content.size() - 8), content.data() + 4);
        }
        folder->write(withSuffix(name), name == u"cut" ? content.chopped(8) : content);
        return QFile::encodeName(folder->path(name));
    }

    // Waits while the event loop stands still.
    template <class Condition>
    static bool waitBlindly(const Condition& condition)
    {
        const QDeadlineTimer limit(30000);
        while (!condition() && !limit.hasExpired())
            QThread::msleep(1);
        return condition();
    }

    bool hasWritten() const { return fake->writtenCount() == mEncoders; }
    bool begin()
    {
        ++mEncoders;
        return mProbe->begin();
    }
    void release()
    {
        mProbe->task.reset();
        mReleased = true;
    }
    bool again()
    {
        fake->reset();
        return perform(u"out=-1"_s) && begin();
    }
    bool perform(const QString& step)
    {
        const QString key = step.section(u'=', 0, 0);
        const QString value = forKind(step.section(u'=', 1));
        // Another thread is at it.
        ICompressTask* const task = key == u"released" ? nullptr : mProbe->task.data();
        if (key == u"out")
            fake->write(mOut = value == u"whole" || value == u"cut" ? model(value) : value.toLatin1());
        else if (key == u"exit")
            fake->exitWith(value.toInt());
        else if (key == u"end")
            fake->set("FAKE_END", value.toLatin1());
        else if (key == u"delay")
            fake->delay(value.toInt());
        else if (key == u"progress") // and no end marker ever
            fake->set("FAKE_PROGRESS", "out_time_us=" + value.toLatin1() + "000\nprogress=continue\n");
        else if (key == u"open")
            fake->open();
        else if (key == u"late")
            lastBreath = std::chrono::milliseconds(700);
        else if (key == u"full")
            disksAreFull = true;
        else if (key == u"untellable")
            filesAreUnknown = true;
        else if (key == u"stage")
            return stage(value);
        else if (key == u"limit")
            TestSystem::limitFiles(value);
        else if (key == u"tmp")
            TestFolder::useTemporary(value.isEmpty() ? folder->temporaryPath() : source());
        else if (key == u"old")
            folder->write(QFileInfo(mOutput).fileName(), kOld);
        else if (key == u"vanish")
            return QFile::remove(mInput);
        else if (key == u"kill")
            return TestSystem::sendSignal(fake->runs().last().processId, value.toInt());
        else if (key == u"begin")
            return begin();
        else if (key == u"cannot-begin")
            return !mProbe->begin();
        else if (key == u"again")
            return again();
        else if (key == u"run")
            return begin() && mProbe->ends(mProbe->finishes.size() + 1);
        else if (key == u"ends")
            return mProbe->ends(mProbe->finishes.size() + 1);
        else if (key == u"stop" && task)
            task->stop();
        else if (key == u"release")
            release();
        else if (key == u"release-there")
            std::thread([this] { release(); }).join();
        else if (key == u"at-finish")
            mProbe->onFinish = [this, value] { QVERIFY2(perform(value), qPrintable(value)); };
        else if (key == u"at-progress") // a video's own comes in the monitor's thread
            connect(
                task, &ICompressTask::compressProcess, this, [this] { release(); }, Qt::DirectConnection);
        else if (key == u"started")
            return QTest::qWaitFor([this] { return fake->runs().size() == mEncoders; }, 30000);
        else if (key == u"runs")
            return fake->runs().size() == value.toInt();
        else if (key == u"alone")
            return !TestSystem::isRunning(fake->runs().first().processId);
        else if (key == u"written")
            return QTest::qWaitFor([this] { return hasWritten(); }, 30000);
        else if (key == u"blind")
            return waitBlindly([this] { return hasWritten() && fake->allGone(); });
        else if (key == u"released")
            return QTest::qWaitFor([this] { return mReleased.load(); }, 30000);
        else if (key == u"told")
            return mProbe->finishes.size() == value.toInt();
        else // play() has seen to the first two; a stop may find the task gone
            return key == u"input" || key == u"output" || key == u"stop";
        return true;
    }

    static bool isAsExpected(const Finish& finish, const QString& expected)
    {
        for (const QString& either : forKind(expected).split(u'?')) {
            const QString name = either.section(u':', 0, 0);
            const QString text = either.section(u':', 1);
            const int code = name == u"stopped" ? FinishCode::kStopped
                             : name == u"crash" ? kCrashCode
                                                : name.toInt();
            const QString corrupt = u"The file is corrupt or not a standard file format"_s;
            if (finish ==
                (text.isEmpty() ? kind().told(code) : Finish(code, text == u"no" ? QString() : corrupt)))
                return true;
        }
        return false;
    }

    // What a step "input=" or "output=" says.
    QString pathFor(const QString& what) const
    {
        const QString path = folder->path(what);
        if (what.startsWith(u"folder"))
            QDir(path).mkpath(u"inside"_s);
        else if (what == u"empty")
            folder->write(what, {});
        else if (what == u"pipe" && QProcess::execute(u"mkfifo"_s, {path}) != 0)
            return {};
        return what.isEmpty() ? what : path;
    }

    // One over what is at the output path before.
    void play(const QStringList& steps, const QString& place)
    {
        mInput = source();
        mOutput = output();
        mOut = "half";
        mEncoders = static_cast<int>(fake->runs().size());
        fake->reset();
        for (const QString& step : steps) {
            if (step.startsWith(u"input="))
                mInput = pathFor(step.mid(6));
            if (step.startsWith(u"output="))
                mOutput = pathFor(withSuffix(step.mid(7)));
        }
        const bool hasOld = place == u"old" || steps.contains(u"old");
        QVERIFY(stage(u"works"_s) && (place != u"old" || perform(place)));
        QVERIFY(place != u"link" || QFile::link(folder->path(u"target"_s), mOutput));
        mProbe = std::make_unique<TaskProbe>(kind(), mInput, mOutput);
        for (const QString& step : steps)
            QVERIFY2(perform(step), qPrintable(step));
        const QStringList expected = cells()[3].split(u' ', Qt::SkipEmptyParts);
        QVERIFY2(mProbe->ends(expected.size()), qPrintable(QString::number(mProbe->finishes.size())));
        for (qsizetype i = 0; i < expected.size(); ++i) {
            const auto& [code, text] = mProbe->finishes[i];
            QVERIFY2(isAsExpected(mProbe->finishes[i], expected[i]),
                     qPrintable(u"%1 %2"_s.arg(code).arg(text)));
        }
        const QString left = cells()[4] != u"gone" ? cells()[4] : kind().isDirect ? u"none"_s : u"old"_s;
        const qsizetype outSize = mOut == "half" ? kResult.size() : kSource.size() + mOut.toInt();
        const QByteArray content = left == u"source" ? kSource
                                   : left == u"out" && mOut.startsWith('/')
                                       ? TestFolder::read(withSuffix(QFile::decodeName(mOut)))
                                   : left == u"out"           ? QByteArray(outSize, 'x')
                                   : left == u"old" && hasOld ? kOld
                                                              : QByteArray();
        QTRY_COMPARE(TestFolder::read(mOutput), content);
        QCOMPARE(TestFolder::read(mOutput).isNull(), content.isNull());
        QCOMPARE(QFileInfo(mOutput).isSymbolicLink(), place == u"link");
        QVERIFY(!QFileInfo(mOutput).isDir() || QFile::exists(mOutput + u"/inside"_s));
        if (steps.last() == u"run") {
            QCOMPARE(stateOf(*mProbe), !kind().isDirect                      ? CompressTask::Running
                                       : left == u"out" || left == u"source" ? CompressTask::Succeeded
                                                                             : CompressTask::Failed);
            const bool isWhole = kind().isVideo && left == u"out";
            QCOMPARE(mProbe->progress, isWhole ? QList<float>{1.0F} : QList<float>());
            QCOMPARE(mProbe->progressAtFinish, mProbe->progress.size());
        }
        QCOMPARE(debugLines.filter(u"Can't kill"_s).isEmpty() || !steps.contains(u"stage=no-interpreter"),
                 true);
        QFile::remove(mOutput);
        QFile::remove(folder->path(u"target"_s));
    }

private slots:
    void scenarios_data() { eachKindOf(kScenarios); }
    void scenarios()
    {
        const auto tidy = qScopeGuard([this] {
            lastBreath = {};
            filesAreUnknown = disksAreFull = false;
            TestSystem::limitFiles({});
            mProbe.reset();
        });
        QStringList steps = cells()[2].split(u' ');
        if (const char* const reason = TestSystem::reasonAgainst(cells()[2].replace(u'=', u' ').split(u' ')))
            QSKIP(reason);
        const bool everywhere = steps.removeAll(u"everywhere"_s) > 0;
        play(steps, u"free"_s);
        for (const QString& place : {u"old"_s, u"link"_s}) {
            const bool isHere = place != u"link" || !TestSystem::reasonAgainst({u"symbolic link"_s});
            if (everywhere && isHere && !QTest::currentTestFailed())
                play(steps, place);
        }
    }

    // The host need not wait for an encoder that takes its time to die.
    void threadEndsFirst_data() { eachKind(); }
    void threadEndsFirst()
    {
        QVERIFY(stage(u"works"_s));
        fake->set("FAKE_DEAF_MS", "1500").hang();
        const std::unique_ptr<QThread> thread(QThread::create([this] {
            mProbe = makeTask();
            mEncoders = 1;
            QVERIFY(mProbe->begin() && perform(u"written"_s));
        }));
        thread->start();
        QVERIFY(thread->wait(30000));
        mProbe.reset();
        QVERIFY(TestSystem::reasonAgainst({u"late"_s}) || !fake->allGone());
        QTRY_VERIFY_WITH_TIMEOUT(fake->allGone() && !QFile::exists(output()), 30000);
    }

    // Before, at and after the moment at which they are given up: tasks in threads of their own, each with
    // another.
    void diesAtTheLimit_data() { eachKind({"start", "stop", "release"}, Webp, Video); }
    void diesAtTheLimit()
    {
        if (const char* const reason = TestSystem::reasonAgainst({u"late"_s}))
            QSKIP(reason);
        static constexpr int kTasks = 11;
        static constexpr std::chrono::microseconds kEarliest{498000}, kStep{500};
        QVERIFY(stage(u"works"_s));
        fake->hang();
        std::atomic<int> bad = 0;
        std::latch allWritten{1};
        const auto runOne = [&](int number) {
            TaskProbe probe(kind(), source(), folder->path(withSuffix(QString::number(number))));
            bad += probe.begin() ? 0 : 1;
            allWritten.wait();
            lastBreath = kEarliest + number * kStep;
            if (testCase() == "start")
                bad += probe.begin() ? 0 : 1;
            else if (testCase() == "stop")
                probe.task->stop();
            if (testCase() == "stop")
                bad += probe.ends() && probe.finish() == kind().told(FinishCode::kStopped) ? 0 : 1;
            probe.task.reset();
        };
        std::vector<std::unique_ptr<QThread>> threads;
        for (int number = 0; number < kTasks; ++number)
            threads.emplace_back(QThread::create(runOne, number))->start();
        QVERIFY(waitBlindly([this] { return fake->writtenCount() == kTasks; }));
        allWritten.count_down();
        for (const auto& thread : threads)
            QVERIFY(thread->wait(60000));
        QCOMPARE(bad, 0);
        QTRY_COMPARE(folder->leftovers(QString()).filter(QRegularExpression(u"^[0-9]"_s)), QStringList());
    }

    // Of a sample progress is queued: what the monitor has read comes before its run's end, and nothing in
    // the next run.
    void progressComesLate_data() { eachKind({"stop", "again", "in the finish"}, Sample); }
    void progressComesLate()
    {
        QVERIFY(stage(u"works"_s));
        const bool isLate = testCase() == "in the finish";
        fake->set("FAKE_PROGRESS", "out_time_us=3000000\n|100|out_time_us=7500000\nprogress=end\n");
        if (!isLate)
            fake->hang();
        mProbe = makeTask();
        mEncoders = 0;
        // The monitor has told all and has gone, with its file.
        const auto isRead = [this] { return waitBlindly([this] { return folder->leftovers().isEmpty(); }); };
        qsizetype before = 0;
        mProbe->onFinish = [&] {
            before = mProbe->progress.size();
            QVERIFY(!isLate || (isRead() && again()));
        };
        QVERIFY(begin() && (isLate || (waitBlindly([this] { return hasWritten(); }) && isRead())));
        QVERIFY(isLate || perform(QString::fromLatin1(testCase())));
        QVERIFY(mProbe->ends(testCase() == "stop" ? 1 : 2));
        QVERIFY(mProbe->progress.value(0) == 0.2F && (isLate || mProbe->progress.value(before - 1) == 0.5F));
        QCOMPARE(mProbe->progress.mid(before), testCase() == "stop" ? QList<float>() : QList<float>{1.0F});
        mProbe.reset();
    }

    // A host's window may be waiting for the task while the monitor waits for the window.
    void hostBlocksTheMonitor_data() { eachKind({""}, Video, Video); }
    void hostBlocksTheMonitor()
    {
        QVERIFY(stage(u"works"_s));
        fake->set("FAKE_PROGRESS", "out_time_us=500000\nprogress=continue\n").hang();
        const auto probe = makeTask();
        std::atomic<bool> waiting = false;
        ICompressTask* const task = probe->task.data();
        connect(
            task, &ICompressTask::compressProcess, task, [&] { waiting = true; }, Qt::DirectConnection);
        connect(
            task, &ICompressTask::compressProcess, this, [] {}, Qt::BlockingQueuedConnection);
        QVERIFY(probe->begin() && waitBlindly([&] { return waiting.load(); }));
        task->stop();
        QVERIFY(probe->ends());
        probe->task.reset();
    }
};

QTEST_GUILESS_MAIN(TaskScenariosTest)
#include "task_scenarios_test.moc"
