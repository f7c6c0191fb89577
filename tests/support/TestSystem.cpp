#include "tests/support/TestSystem.h"

#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QProcess>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/resource.h>
#else
#include <qt_windows.h>
#endif

using namespace Qt::StringLiterals;

namespace TestSystem {

const char* reasonAgainst(const QStringList& things)
{
    static const QHash<QString, const char*> kReasons{
#ifndef Q_OS_UNIX
        {u"kill"_s, "there are no signals"},
        {u"full"_s, "no function of a test stands before the system's"},
        {u"late"_s, "nothing can hold the end of a process up"},
        {u"limit"_s, "there is no limit on what a process writes"},
        {u"pipe"_s, "pipes lie apart from files"},
        {u"symbolic link"_s, "symbolic links take a right that few users have"},
        {u"untellable"_s, "no function of a test stands before the system's"},
#endif
    };
    for (const QString& thing : things) {
        if (const char* const reason = kReasons.value(thing))
            return reason;
    }
    return nullptr;
}

const char* reasonAgainstFfmpeg(const QStringList& parts)
{
    static const QList<QByteArray> kWords = [] {
        QByteArray lists;
        for (const char* list : {"-encoders", "-muxers", "-filters"}) {
            QProcess process;
            process.start(QCoreApplication::applicationDirPath() + u"/ffmpeg"_s,
                          {u"-v"_s, u"quiet"_s, QLatin1String(list)});
            process.waitForFinished();
            lists += process.readAllStandardOutput();
        }
        return lists.simplified().split(' ');
    }();
    static QByteArray reason;
    reason.clear();
    for (const QString& part : parts) {
        if (!part.isEmpty() && !kWords.contains(part.toLatin1()))
            reason = "this ffmpeg has no " + part.toLatin1();
    }
    return reason.isEmpty() ? nullptr : reason.constData();
}

bool isPrivate([[maybe_unused]] const QFileInfo& file)
{
#ifdef Q_OS_UNIX
    return (file.permissions().toInt() & 0x77) == 0;
#else
    return true;
#endif
}

#ifdef Q_OS_UNIX

const char* reasonAgainstName(const QString&)
{
    return nullptr;
}

bool isRunning(int processId)
{
    QFile file(u"/proc/%1/stat"_s.arg(processId));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    // State and parent stand behind the name; the number may be another's by now.
    const QByteArray stat = file.readAll();
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 1).split(' ');
    return fields.value(1) != "Z" && fields.value(2).toLongLong() == QCoreApplication::applicationPid();
}

bool sendSignal(int processId, int signal)
{
    return kill(processId, signal) == 0;
}

void limitFiles(const QString& bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes.isEmpty() ? RLIM_INFINITY : bytes.toULong(), RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
}

#else

const char* reasonAgainstName(const QString& name)
{
    for (const QChar letter : name) {
        if (u"\\:*?\"<>|"_s.contains(letter))
            return "no file can have such a name";
    }
    return QStringView(name).isValidUtf16() ? nullptr : "under Wine no file can have such a name";
}

bool isRunning(int processId)
{
    const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(processId));
    const bool isAlive = process && WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
    CloseHandle(process);
    return isAlive;
}

bool sendSignal(int, int)
{
    return false;
}

void limitFiles(const QString&) {}

#endif

} // namespace TestSystem
