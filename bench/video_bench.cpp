// Measures the video task from inside a host: see video.sh, which makes its source and calls it.
//
//   video_bench command SOURCE OUTPUT      the arguments of the quality command, as a shell takes them
//   video_bench first-instruction SOURCE   ms from start() to the encoder's first instruction; the "ffmpeg" beside
//                                          this program must be encoder_clock
//   video_bench stop SOURCE                ms that stop() takes on a running encode, its finish included
//   video_bench encode SOURCE N together|in-a-row
//                                          seconds for N encodes, and the processor time of this process
//                                          (the monitors and the event loop) as a share of one core
#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

#include <ctime>
#include <vector>

#include "compressor/CompressorEntry.h"
#include "video/VideoCompressor.h"

using namespace Qt::StringLiterals;

namespace {

using Task = QSharedPointer<ICompressTask>;

QTextStream& out()
{
    static QTextStream stream(stdout);
    return stream;
}

double secondsOf(clockid_t clock)
{
    timespec now = {};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

QVariantMap params(const QString& source, const QString& output)
{
    return {
        {u"inputPath"_s, source}, {u"outputPath"_s, output}, {u"quality"_s, u"28"_s}, {u"scale"_s, u"1"_s}};
}

Task makeTask(const QString& source, const QString& output)
{
    return CompressorEntry()->createTask(params(source, output));
}

void waitFor(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

// Runs what `begin` starts until `count` finishes have come.
template <class Begin>
void runUntilFinished(const std::vector<Task>& tasks, Begin begin)
{
    QEventLoop loop;
    size_t finished = 0;
    for (const Task& task : tasks) {
        QObject::connect(task.data(), &ICompressTask::compressFinished, &loop,
                         [&](int code, const QString& text) {
                             if (code != 0)
                                 qFatal("the encode failed: %d %s", code, qPrintable(text));
                             if (++finished == tasks.size())
                                 loop.quit();
                             else
                                 begin(finished);
                         });
    }
    begin(0);
    loop.exec();
}

void firstInstruction(const QString& source, const QTemporaryDir& folder)
{
    const QString output = folder.filePath(u"out.mp4"_s);
    const Task task = makeTask(source, output);
    const double before = secondsOf(CLOCK_MONOTONIC);
    runUntilFinished({task}, [&](size_t) { task->start(); });
    QFile file(output);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("the encoder beside this program is not encoder_clock");
    out() << (file.readAll().toDouble() - before) * 1000 << '\n';
}

void stopEncode(const QString& source, const QTemporaryDir& folder)
{
    const Task task = makeTask(source, folder.filePath(u"out.mp4"_s));
    bool finished = false;
    QObject::connect(task.data(), &ICompressTask::compressFinished, [&] { finished = true; });
    task->start();
    waitFor(1500);
    const double before = secondsOf(CLOCK_MONOTONIC);
    task->stop();
    if (!finished)
        qFatal("stop() returned without a finish");
    out() << (secondsOf(CLOCK_MONOTONIC) - before) * 1000 << '\n';
}

void encode(const QString& source, const QTemporaryDir& folder, size_t count, bool together)
{
    std::vector<Task> tasks;
    tasks.reserve(count);
    for (size_t i = 0; i < count; ++i)
        tasks.push_back(makeTask(source, folder.filePath(u"out-%1.mp4"_s.arg(i))));
    const double before = secondsOf(CLOCK_MONOTONIC);
    double processorSeconds = 0;
    runUntilFinished(tasks, [&](size_t finished) {
        if (!together) {
            tasks[finished]->start();
        } else if (finished == 0) {
            for (const Task& task : tasks)
                task->start();
        }
        // From here on it is the monitors and the event loop: the sources have been inspected.
        if (finished == 0)
            processorSeconds = secondsOf(CLOCK_PROCESS_CPUTIME_ID);
    });
    const double wall = secondsOf(CLOCK_MONOTONIC) - before;
    const double processor = secondsOf(CLOCK_PROCESS_CPUTIME_ID) - processorSeconds;
    out() << wall << ' ' << 100 * processor / wall << '\n';
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    QLoggingCategory::setFilterRules(u"default.debug=false"_s);
    const QTemporaryDir folder;
    if (arguments.size() == 4 && arguments[1] == "command"_L1)
        out() << VideoCompressor(params(arguments[2], arguments[3])).buildQualityCommand().join(u' ') << '\n';
    else if (arguments.size() == 3 && arguments[1] == "first-instruction"_L1)
        firstInstruction(arguments[2], folder);
    else if (arguments.size() == 3 && arguments[1] == "stop"_L1)
        stopEncode(arguments[2], folder);
    else if (arguments.size() == 5 && arguments[1] == "encode"_L1)
        encode(arguments[2], folder, arguments[3].toUInt(), arguments[4] == "together"_L1);
    else
        qFatal("see the head of video_bench.cpp");
}
