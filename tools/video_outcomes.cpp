// Runs each of the three video commands on every given source into every container, with the real ffmpeg
// beside this program, and prints what came of it as Markdown tables.
//
//   video_outcomes [--containers mp4,mkv] SOURCE...
//
// It exits with 1 when an outcome breaks a promise: a result that does not play as it should, a failure
// without its text, or anything left behind.
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>

#include <algorithm>
#include <cmath>

#include "video/VideoCompressor.h"

using namespace Qt::StringLiterals;

namespace {

constexpr double kLengthToleranceS = 0.2;
constexpr double kSampleS = 15;

enum Command
{
    Quality,
    Size,
    Sample,
    CommandCount
};
const char* const kCommandTitles[] = {"Quality, rate factor 28, full size", "Size, 50 %, half the sides",
                                      "Sample, rate factor 28, a quarter of the sides"};

struct Probe
{
    QJsonArray streams;
    double seconds = 0; ///< 0 when unknown

    bool isEmpty() const { return streams.isEmpty(); }
    int count(const QString& type) const
    {
        return static_cast<int>(std::count_if(streams.begin(), streams.end(), [&](const QJsonValue& stream) {
            return stream["codec_type"_L1].toString() == type;
        }));
    }
    QString pictureSize() const
    {
        for (const QJsonValue stream : streams) {
            if (stream["codec_type"_L1] == "video"_L1)
                return u"%1:%2"_s.arg(stream["width"_L1].toInt()).arg(stream["height"_L1].toInt());
        }
        return {};
    }
};

QByteArray outputOf(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(-1);
    return process.readAllStandardOutput();
}

// By decoding: a container may not know, or promise more than it holds.
double decodedSeconds(const QString& path)
{
    const QByteArray progress = outputOf(u"ffmpeg"_s, {u"-nostdin"_s, u"-v"_s, u"quiet"_s, u"-i"_s, path,
                                                       u"-f"_s, u"null"_s, u"-progress"_s, u"-"_s, u"-"_s});
    const qsizetype last = progress.lastIndexOf("out_time_us=");
    return last < 0 ? 0 : progress.mid(last + 12, progress.indexOf('\n', last) - last - 12).toDouble() / 1e6;
}

Probe probe(const QString& path)
{
    const QByteArray json = outputOf(u"ffprobe"_s, {u"-v"_s, u"error"_s, u"-show_streams"_s,
                                                    u"-show_format"_s, u"-of"_s, u"json"_s, path});
    const QJsonObject found = QJsonDocument::fromJson(json).object();
    Probe result;
    result.streams = found["streams"_L1].toArray();
    result.seconds = found["format"_L1]["duration"_L1].toString().toDouble();
    return result;
}

// The fragment behind `option`, or the rest of one that begins with it.
QString valueOf(const QStringList& fragments, const QString& option)
{
    for (qsizetype i = 0; i < fragments.size(); ++i) {
        if (fragments[i] == option)
            return fragments.value(i + 1);
        if (fragments[i].startsWith(option))
            return fragments[i].mid(option.size());
    }
    return {};
}

// How many streams of a type the command asks for: what it maps, or else ffmpeg's pick of one. Without a
// mapping, a subtitle is picked only where the container has a codec for it: -1, any.
int wantedStreams(const QStringList& fragments, const Probe& source, const QString& type)
{
    const QString all = fragments.join(u' ');
    const int has = source.count(type);
    if (all.contains("-map 0 "_L1))
        return has;
    if (!all.contains("-map 0:"_L1))
        return type == "subtitle"_L1 ? -1 : std::min(has, 1);
    if (type == "video"_L1)
        return all.contains("-map 0:v"_L1) ? 1 : 0;
    return all.contains("-map 0:"_L1 + type[0]) ? has : 0;
}

struct Finish
{
    int code = 0;
    QString text;
};

Finish run(VideoCompressor& task, Command command)
{
    Finish finish;
    QEventLoop loop;
    QObject::connect(&task, &ICompressTask::compressFinished, &loop, [&](int code, const QString& text) {
        finish = {code, text};
        loop.quit();
    });
    const bool started = command == Sample ? task.estimate() : task.start();
    if (!started)
        qFatal("there is no ffmpeg beside this program");
    loop.exec();
    return finish;
}

class Sweep
{
public:
    void source(const QString& path, const QStringList& containers);
    void print(const QStringList& containers) const;
    bool promisesKept() const { return mFaults.isEmpty(); }

private:
    QString outcome(const QString& path, const Probe& source, const QString& container, Command command);
    QString judgeResult(const QString& output, const Probe& source, const QStringList& fragments,
                        Command command);

    QMap<QString, QString> mCells[CommandCount]; ///< by source and container
    QStringList mSources;
    QStringList mFaults;
};

void Sweep::source(const QString& path, const QStringList& containers)
{
    Probe source = probe(path);
    source.seconds = decodedSeconds(path);
    const QString name = QFileInfo(path).fileName();
    mSources << name;
    for (const QString& container : containers) {
        for (int command = 0; command < CommandCount; ++command) {
            const QString cell = outcome(path, source, container, static_cast<Command>(command));
            mCells[command][name + u'/' + container] = cell;
            if (cell.contains(u':'))
                mFaults << u"%1 into %2, %3: %4"_s.arg(name, container,
                                                       QLatin1String(kCommandTitles[command]), cell);
        }
    }
    QTextStream(stderr) << name << '\n';
}

QString Sweep::outcome(const QString& path, const Probe& source, const QString& container, Command command)
{
    static const char* const kScales[] = {"1", "2", "4"};
    // The temporary location of the run lies inside.
    static const QString base = QDir::tempPath();
    const QTemporaryDir folder(base + u"/video-outcomes-XXXXXX"_s);
    const QDir temporary(folder.filePath(u"tmp"_s));
    temporary.mkpath(u"."_s);
    qputenv("TMPDIR", QFile::encodeName(temporary.path()));
    const QString output = folder.filePath(u"out."_s + container);
    VideoCompressor task({{u"inputPath"_s, path},
                          {u"outputPath"_s, output},
                          {u"isPercentage"_s, command == Size},
                          {u"quality"_s, command == Size ? 50 : 28},
                          {u"scale"_s, QLatin1String(kScales[command])}});
    const Finish finish = run(task, command);
    const bool exists = QFileInfo::exists(output);
    // The monitor of a success ends behind ffmpeg's end marker, at its next look.
    QElapsedTimer waiting;
    waiting.start();
    const QDir::Filters all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    while (!temporary.entryList(all).isEmpty() && waiting.elapsed() < 2000)
        QThread::msleep(10);
    if (!temporary.entryList(all).isEmpty())
        return u"left behind: "_s + temporary.entryList(all).join(u' ');
    if (finish.code != 0) {
        if (exists || finish.text.isEmpty())
            return u"failed: but with an output or without a text"_s;
        return QString::number(finish.code);
    }
    const QStringList fragments = command == Sample ? task.buildSampleCommand()
                                  : command == Size ? task.buildSizeCommand()
                                                    : task.buildQualityCommand();
    const QString fault = exists ? judgeResult(output, source, fragments, command) : u"no output"_s;
    return fault.isEmpty() ? u"plays"_s : u"differs: "_s + fault;
}

QString Sweep::judgeResult(const QString& output, const Probe& source, const QStringList& fragments,
                           Command command)
{
    const Probe result = probe(output);
    if (result.isEmpty())
        return u"does not open"_s;
    for (const char* type : {"video", "audio", "subtitle"}) {
        const QString name = QLatin1String(type);
        const int wanted = wantedStreams(fragments, source, name);
        if (wanted >= 0 && result.count(name) != wanted)
            return u"%1 %2 streams for %3"_s.arg(result.count(name)).arg(name).arg(wanted);
    }
    const QString size = valueOf(fragments, u"scale="_s);
    if (result.count(u"video"_s) > 0 && !size.isEmpty() && result.pictureSize() != size)
        return u"%1 for %2"_s.arg(result.pictureSize(), size);
    const double wantedSeconds = command == Sample ? std::min(source.seconds, kSampleS) : source.seconds;
    if (source.seconds > 0 && std::abs(result.seconds - wantedSeconds) > kLengthToleranceS)
        return u"%1 s for %2 s"_s.arg(result.seconds, 0, 'f', 1).arg(wantedSeconds, 0, 'f', 1);
    return {};
}

void Sweep::print(const QStringList& containers) const
{
    QTextStream out(stdout);
    for (int command = 0; command < CommandCount; ++command) {
        out << "\n## " << kCommandTitles[command] << "\n\n| source | " << containers.join(" | "_L1) << " |\n|"
            << u"---|"_s.repeated(containers.size() + 1) << '\n';
        for (const QString& source : mSources) {
            out << "| " << source;
            for (const QString& container : containers)
                out << " | " << mCells[command][source + u'/' + container];
            out << " |\n";
        }
    }
    for (const QString& fault : mFaults)
        QTextStream(stderr) << "not as promised: " << fault << '\n';
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(u"default.debug=false"_s);
    QStringList sources = app.arguments().mid(1);
    QStringList containers{u"mp4"_s, u"mov"_s, u"mkv"_s,  u"m4v"_s, u"avi"_s,
                           u"flv"_s, u"f4v"_s, u"m2ts"_s, u"webm"_s};
    if (sources.value(0) == "--containers"_L1) {
        containers = sources.value(1).split(u',');
        sources = sources.mid(2);
    }
    Sweep sweep;
    for (const QString& source : sources)
        sweep.source(source, containers);
    sweep.print(containers);
    return sweep.promisesKept() ? 0 : 1;
}
