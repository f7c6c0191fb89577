#include "tests/host/HostRun.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>

#ifndef Q_OS_WIN
#include <csignal>
#include <sys/resource.h>
#endif

namespace {

constexpr int kLongestRunMs = 60000;

QString beside(const QString& program)
{
    return QCoreApplication::applicationDirPath() + u'/' + program;
}

} // namespace

HostRun::HostRun(const TestFolder& folder, const QString& bin)
{
    mProcess.setProgram(bin.isEmpty() ? beside(QStringLiteral("vxcompress"))
                                      : bin + QLatin1String("/vxcompress"));
    mProcess.setWorkingDirectory(folder.path());
}

void HostRun::start(const QStringList& arguments, Conditions conditions)
{
#ifndef Q_OS_WIN
    mProcess.setChildProcessModifier([conditions] {
        // The test itself may run in the background, where shells have Ctrl-C ignored.
        for (const int number : {SIGINT, SIGHUP})
            signal(number, number == conditions.ignoredSignal ? SIG_IGN : SIG_DFL);
        if (conditions.maxFileBytes >= 0) {
            const auto bytes = static_cast<rlim_t>(conditions.maxFileBytes);
            const rlimit limit{bytes, bytes};
            setrlimit(RLIMIT_FSIZE, &limit);
            signal(SIGXFSZ, SIG_IGN);
        }
    });
#else
    Q_UNUSED(conditions)
#endif
    mProcess.setArguments(arguments);
    mProcess.start();
}

bool HostRun::waitForEnd()
{
    const bool ended = mProcess.waitForFinished(kLongestRunMs);
    if (!ended)
        mProcess.kill();
    mOutput = QString::fromUtf8(mProcess.readAllStandardOutput());
    mError = QString::fromUtf8(mProcess.readAllStandardError());
    return ended;
}

void HostRun::sendSignal(int number) const
{
#ifndef Q_OS_WIN
    ::kill(static_cast<pid_t>(mProcess.processId()), number);
#else
    Q_UNUSED(number)
#endif
}

int HostRun::status() const
{
    return mProcess.exitStatus() == QProcess::NormalExit ? mProcess.exitCode() : -1;
}

QStringList words(const char* line)
{
    return QString::fromUtf8(line).split(u' ');
}

QString makePicture(const TestFolder& folder, const QString& name, const QString& size)
{
    // The best that the format can do; JPEG counts the other way.
    const char* const quality = name.endsWith(QLatin1String(".jpg")) ? "1" : "100";
    QString path = folder.path(name);
    if (!runFfmpeg(words("-f lavfi -i") + QStringList(QStringLiteral("mandelbrot=s=") + size) +
                   words("-frames:v 1 -q:v") + words(quality) + QStringList(path)))
        qFatal("ffmpeg made no %s", qUtf8Printable(name));
    return path;
}

bool runFfmpeg(const QStringList& arguments)
{
    return QProcess::execute(beside(QStringLiteral("ffmpeg")), words("-v error -nostdin -y") + arguments) ==
           0;
}

QStringList filesIn(const TestFolder& folder)
{
    QStringList names =
        QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    names.removeOne(QStringLiteral("tmp"));
    for (const QString& name : folder.leftovers())
        names.append(QStringLiteral("tmp/") + name);
    return names;
}

QStringList contentsOf(const TestFolder& folder)
{
    QStringList contents = filesIn(folder);
    for (QString& name : contents) {
        const QByteArray content = TestFolder::read(folder.path(name));
        name +=
            u' ' + QString::fromLatin1(QCryptographicHash::hash(content, QCryptographicHash::Md5).toHex());
    }
    return contents;
}
