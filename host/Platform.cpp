#include "host/Platform.h"

#include <QDir>
#include <QFile>
#include <QMetaObject>
#include <QObject>
#include <QSocketNotifier>

#include <atomic>

#ifdef Q_OS_WIN
#include <io.h>
#include <qt_windows.h>
#else
#include <clocale>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <langinfo.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

namespace Platform {

namespace {

std::atomic<int> firstInterrupt = 0;
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler writes it");

void recordInterrupt(int number)
{
    int none = 0;
    firstInterrupt.compare_exchange_strong(none, number);
}

constexpr qintptr kNoHandle = -1;

} // namespace

int interrupt()
{
    return firstInterrupt;
}

FolderHold::~FolderHold()
{
    release();
}

bool FolderHold::isHeld() const
{
    return mHandle != kNoHandle;
}

#ifdef Q_OS_WIN

namespace {

QObject* interruptContext = nullptr;
std::function<void()> interruptWake;

// Windows calls it in a thread of its own.
BOOL WINAPI onConsoleEvent(DWORD event)
{
    // The numbers that other systems use for the same requests.
    recordInterrupt(event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT ? 2 : 15);
    QMetaObject::invokeMethod(interruptContext, interruptWake, Qt::QueuedConnection);
    // After a closed console Windows ends the process as soon as this returns, or in 5 seconds: leave them to
    // the other thread.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        Sleep(INFINITE);
    return TRUE;
}

} // namespace

void prepare()
{
    SetConsoleOutputCP(CP_UTF8);
}

bool isTerminal(std::FILE* stream)
{
    return _isatty(_fileno(stream)) != 0;
}

void setTemporaryFolder(const QString& folder)
{
    const QString native = QDir::toNativeSeparators(folder);
    for (const char* variable : {"TMP", "TEMP"}) {
        // The wide call: the folder may have letters that the narrow environment lacks.
        SetEnvironmentVariableW(reinterpret_cast<const wchar_t*>(QString::fromLatin1(variable).utf16()),
                                reinterpret_cast<const wchar_t*>(native.utf16()));
    }
}

void catchInterrupts(QObject* context, std::function<void()> wake)
{
    interruptContext = context;
    interruptWake = std::move(wake);
    SetConsoleCtrlHandler(onConsoleEvent, TRUE);
}

// Open for deletion and not shared for it: a second one is refused.
FolderHold::FolderHold(const QString& folder)
    : mHandle(reinterpret_cast<qintptr>(CreateFileW(
          reinterpret_cast<const wchar_t*>(QDir::toNativeSeparators(folder).utf16()), GENERIC_READ | DELETE,
          FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)))
{
    static_assert(kNoHandle == -1, "INVALID_HANDLE_VALUE");
}

void FolderHold::release()
{
    if (isHeld())
        CloseHandle(reinterpret_cast<HANDLE>(mHandle));
    mHandle = kNoHandle;
}

#else

namespace {

int interruptSockets[2] = {-1, -1};

// Runs as a signal handler: nothing here but an atomic and a system call.
void onSignal(int number)
{
    const int savedError = errno;
    recordInterrupt(number);
    const char wakeUp = 0;
    [[maybe_unused]] const ssize_t written = write(interruptSockets[0], &wakeUp, sizeof wakeUp);
    errno = savedError;
}

void catchSignal(int number)
{
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    // nohup's wish. An interrupt is another matter: a script's shell ignores it for what runs in the
    // background, and whoever sends one there means it.
    if (number == SIGHUP && action.sa_handler == SIG_IGN)
        return;
    action = {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
}

} // namespace

void prepare()
{
    // Qt takes file names for UTF-8 in any case, but grumbles on the terminal about other locales.
    std::setlocale(LC_ALL, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0)
        qputenv("LC_ALL", "C.UTF-8");
}

bool isTerminal(std::FILE* stream)
{
    return isatty(fileno(stream)) == 1;
}

void setTemporaryFolder(const QString& folder)
{
    qputenv("TMPDIR", QFile::encodeName(folder));
}

void catchInterrupts(QObject* context, std::function<void()> wake)
{
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, interruptSockets) != 0)
        return;
    auto* const notifier = new QSocketNotifier(interruptSockets[1], QSocketNotifier::Read, context);
    QObject::connect(notifier, &QSocketNotifier::activated, context, [wake = std::move(wake)] {
        char pending[16];
        while (read(interruptSockets[1], pending, sizeof pending) > 0) {
        }
        wake();
    });
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        catchSignal(number);
}

FolderHold::FolderHold(const QString& folder)
    : mHandle(open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW))
{
    if (isHeld() && flock(static_cast<int>(mHandle), LOCK_EX | LOCK_NB) != 0)
        release();
}

void FolderHold::release()
{
    if (isHeld())
        close(static_cast<int>(mHandle));
    mHandle = kNoHandle;
}

#endif

} // namespace Platform
