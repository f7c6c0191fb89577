// Measures image tasks from inside a host: see image.sh, which makes the sources and calls it.
//
//   image_bench batch QUALITY AT_ONCE FOLDER SOURCE...
//                                  seconds for all, so many tasks side by side, into FOLDER
//   image_bench memory N SOURCE    peak resident memory of this process in KiB with N tasks made before the first
//                                  starts
#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>

#include <chrono>
#include <vector>

#include "compressor/CompressorEntry.h"

using namespace Qt::StringLiterals;

namespace {

using Task = QSharedPointer<ICompressTask>;

Task makeTask(const QString& source, const QString& output, const QString& quality)
{
    return CompressorEntry()->createTask(
        {{u"inputPath"_s, source}, {u"outputPath"_s, output}, {u"quality"_s, quality}});
}

// Keeps `atOnce` tasks running until all have ended; a task is released when it has.
void runAll(std::vector<Task>& tasks, qsizetype atOnce)
{
    QEventLoop loop;
    size_t next = 0;
    size_t ended = 0;
    const auto startNext = [&] {
        if (next < tasks.size() && !tasks[next++]->start())
            qFatal("no encoder beside this program");
    };
    for (Task& task : tasks) {
        QObject::connect(task.data(), &ICompressTask::compressFinished, &loop,
                         [&](int code, const QString& text) {
                             if (code != 0)
                                 qFatal("a job failed: %d %s", code, qPrintable(text));
                             task.reset();
                             startNext();
                             if (++ended == tasks.size())
                                 loop.quit();
                         });
    }
    for (qsizetype i = 0; i < atOnce; ++i)
        startNext();
    loop.exec();
}

double runBatch(const QString& quality, qsizetype atOnce, const QString& folder, const QStringList& sources)
{
    const auto begin = std::chrono::steady_clock::now();
    std::vector<Task> tasks;
    tasks.reserve(static_cast<size_t>(sources.size()));
    for (const QString& source : sources)
        tasks.push_back(makeTask(source, folder + u'/' + QFileInfo(source).fileName(), quality));
    runAll(tasks, atOnce);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

QByteArray peakMemoryKiB()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return {};
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.simplified().split(' ').value(1);
    }
    return {};
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    QLoggingCategory::setFilterRules(u"default.debug=false"_s);
    QTextStream out(stdout);
    if (arguments.size() > 5 && arguments[1] == "batch"_L1) {
        out << runBatch(arguments[2], arguments[3].toInt(), arguments[4], arguments.mid(5)) << '\n';
    } else if (arguments.size() == 4 && arguments[1] == "memory"_L1) {
        const QTemporaryDir folder;
        const int count = arguments[2].toInt();
        std::vector<Task> tasks;
        tasks.reserve(static_cast<size_t>(count));
        for (int i = 0; i < count; ++i) {
            tasks.push_back(makeTask(arguments[3], folder.filePath(u"out-%1.jpg"_s.arg(i)), u"75"_s));
        }
        runAll(tasks, QThread::idealThreadCount());
        out << peakMemoryKiB() << '\n';
    } else {
        qFatal("see the head of image_bench.cpp");
    }
    return 0;
}
