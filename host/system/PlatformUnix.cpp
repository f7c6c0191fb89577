#include <QFile>
#include <QLibrary>
#include <QObject>
#include <QSocketNotifier>

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstring>
#include <langinfo.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include "host/system/NativePath.h"
#include "host/system/Platform.h"

using namespace Qt::StringLiterals;

namespace Platform {

namespace {

int interruptSockets[2] = {-1, -1};

bool wasLocaleUtf8 = false;

// Runs as a signal handler: nothing here but atomics and a system call.
void onSignal(int number)
{
    const int savedError = errno;
    Interrupts::record(number);
    const char wakeUp = 0;
    [[maybe_unused]] const ssize_t written = ::write(interruptSockets[0], &wakeUp, sizeof wakeUp);
    errno = savedError;
}

void catchSignal(int number)
{
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    // nohup's request, or that of who wants an error instead of an end at a file's limit. An interrupt is
    // another matter: a script's shell ignores it for what runs in the background, and whoever sends one
    // there means it.
    if ((number == SIGHUP || number == SIGXFSZ) && action.sa_handler == SIG_IGN)
        return;
    action = {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
}

int descriptor(Channel channel)
{
    return channel == Channel::Output ? STDOUT_FILENO : STDERR_FILENO;
}

} // namespace

void prepare()
{
    // Qt takes file names for UTF-8 in any case, but grumbles on the terminal about other locales.
    std::setlocale(LC_ALL, "");
    wasLocaleUtf8 = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
    if (!wasLocaleUtf8)
        qputenv("LC_ALL", "C.UTF-8");
    std::signal(SIGPIPE, SIG_IGN);
}

bool isLocaleUtf8()
{
    return wasLocaleUtf8;
}

QStringList arguments(int argc, char** argv)
{
    QStringList texts;
    for (int at = 0; at < argc; ++at)
        texts.append(NativePath::fromBytes(argv[at]));
    return texts;
}

bool isTerminal(Channel channel)
{
    return isatty(descriptor(channel)) == 1;
}

TerminalSize terminalSize(Channel channel)
{
    winsize size = {};
    if (ioctl(descriptor(channel), TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return {};
    return {size.ws_col, size.ws_row > 0 ? size.ws_row : TerminalSize().rows};
}

bool isInForeground(Channel channel)
{
    const pid_t group = tcgetpgrp(descriptor(channel));
    // Another's terminal, such as an outer one that is handed down: no way to tell.
    return group < 0 || group == getpgrp();
}

bool write(Channel channel, const QString& text)
{
    const QByteArray bytes = NativePath::toBytes(text);
    for (qsizetype done = 0; done < bytes.size();) {
        const ssize_t count =
            ::write(descriptor(channel), bytes.constData() + done, size_t(bytes.size() - done));
        if (count >= 0) {
            done += count;
        } else if (errno == EAGAIN) {
            // Somebody has made the shared channel non-blocking.
            pollfd ready{descriptor(channel), POLLOUT, 0};
            poll(&ready, 1, -1);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

bool waitForInput(int descriptor)
{
    pollfd either[] = {{descriptor, POLLIN, 0}, {interruptSockets[1], POLLIN, 0}};
    while (Interrupts::first() == 0) {
        if (poll(either, std::size(either), -1) > 0 && either[0].revents != 0)
            return true;
    }
    return false;
}

QString temporaryFolder()
{
    const QString folder = NativePath::fromBytes(qgetenv("TMPDIR"));
    return folder.isEmpty() ? u"/tmp"_s : NativePath::absolute(folder);
}

void setTemporaryFolder(const QString& folder)
{
    qputenv("TMPDIR", NativePath::toBytes(folder));
}

void lowerPriority(int nice)
{
#ifdef Q_OS_LINUX
    // Of the calling thread alone, and of what it starts.
    setpriority(PRIO_PROCESS, 0, getpriority(PRIO_PROCESS, 0) + nice);
#else
    [[maybe_unused]] const int now = ::nice(nice);
#endif
}

Interrupts::Interrupts(std::function<void()> wake) : mContext(std::make_unique<QObject>())
{
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, interruptSockets) != 0)
        return;
    auto* const notifier = new QSocketNotifier(interruptSockets[1], QSocketNotifier::Read, mContext.get());
    QObject::connect(notifier, &QSocketNotifier::activated, mContext.get(), [wake = std::move(wake)] {
        char pending[16];
        while (read(interruptSockets[1], pending, sizeof pending) > 0) {
        }
        wake();
    });
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGXFSZ})
        catchSignal(number);
}

// The handlers stay, and so do the sockets that they write to: an interrupt during the last cleaning is
// recorded and changes nothing.
Interrupts::~Interrupts() = default;

QFunctionPointer functionIn(const QString& path, const char* name)
{
    // The loader looks into the library first and then into all that it needs.
    return QLibrary(path).resolve(name);
}

void leave(int status)
{
    _exit(status);
}

} // namespace Platform
