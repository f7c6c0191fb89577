#include <QDir>
#include <QMetaObject>
#include <QObject>

#include <array>
#include <io.h>
#include <mutex>
#include <qt_windows.h>
#include <shellapi.h>

#include <psapi.h>

#include "host/system/NativePath.h"
#include "host/system/Platform.h"

namespace Platform {

namespace {

// The numbers that other systems use for the same requests.
constexpr int kInterruptNumber = 2;
constexpr int kTerminateNumber = 15;

std::mutex contextMutex;
QObject* interruptContext = nullptr;
std::function<void()> interruptWake;

// Windows calls it in a thread of its own.
BOOL WINAPI onConsoleEvent(DWORD event)
{
    const bool isKey = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
    Interrupts::record(isKey ? kInterruptNumber : kTerminateNumber);
    {
        const std::lock_guard<std::mutex> lock(contextMutex);
        if (interruptContext)
            QMetaObject::invokeMethod(interruptContext, interruptWake, Qt::QueuedConnection);
    }
    // After a closed console Windows ends the process as soon as this returns, or in 5 seconds: leave them to
    // the other thread.
    if (!isKey)
        Sleep(INFINITE);
    return TRUE;
}

HANDLE handleOf(Channel channel)
{
    return GetStdHandle(channel == Channel::Output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

// A console takes UTF-16, whatever its code page; all else gets UTF-8.
bool writeToConsole(HANDLE console, const QString& text)
{
    constexpr qsizetype kMostAtOnce = 8192;
    for (qsizetype done = 0; done < text.size();) {
        DWORD written = 0;
        const qsizetype count = std::min(text.size() - done, kMostAtOnce);
        if (!WriteConsoleW(console, text.utf16() + done, DWORD(count), &written, nullptr) || written == 0)
            return false;
        done += written;
    }
    return true;
}

} // namespace

void prepare()
{
    // So that the escape sequences of the progress block are understood.
    const HANDLE console = handleOf(Channel::Error);
    DWORD mode = 0;
    if (GetConsoleMode(console, &mode))
        SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

QStringList arguments(int, char**)
{
    int count = 0;
    LPWSTR* const words = CommandLineToArgvW(GetCommandLineW(), &count);
    QStringList texts;
    for (int at = 0; at < count; ++at)
        texts.append(QString::fromWCharArray(words[at]).replace(u'\\', u'/'));
    LocalFree(words);
    return texts;
}

bool isLocaleUtf8()
{
    // What is written to a console is written wide.
    return true;
}

bool isTerminal(Channel channel)
{
    DWORD mode = 0;
    return GetConsoleMode(handleOf(channel), &mode) != 0;
}

TerminalSize terminalSize(Channel channel)
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (!GetConsoleScreenBufferInfo(handleOf(channel), &info))
        return {};
    return {info.srWindow.Right - info.srWindow.Left + 1, info.srWindow.Bottom - info.srWindow.Top + 1};
}

bool isInForeground(Channel)
{
    return true;
}

bool write(Channel channel, const QString& text)
{
    const HANDLE handle = handleOf(channel);
    if (isTerminal(channel))
        return writeToConsole(handle, text);
    const QByteArray bytes = text.toUtf8();
    for (qsizetype done = 0; done < bytes.size();) {
        DWORD written = 0;
        if (!WriteFile(handle, bytes.constData() + done, DWORD(bytes.size() - done), &written, nullptr))
            return false;
        done += written;
    }
    return true;
}

bool waitForInput(int)
{
    return Interrupts::first() == 0;
}

QString temporaryFolder()
{
    return QDir::tempPath();
}

void setTemporaryFolder(const QString& folder)
{
    const std::wstring native = NativePath::toNative(folder).native();
    // The wide call: the folder may have letters that the narrow environment lacks.
    for (const wchar_t* variable : {L"TMP", L"TEMP"})
        SetEnvironmentVariableW(variable, native.c_str());
}

// The processes that this one starts get its class.
void lowerPriority(int nice)
{
    constexpr int kIdleFrom = 15;
    SetPriorityClass(GetCurrentProcess(),
                     nice >= kIdleFrom ? IDLE_PRIORITY_CLASS : BELOW_NORMAL_PRIORITY_CLASS);
}

Interrupts::Interrupts(std::function<void()> wake) : mContext(std::make_unique<QObject>())
{
    const std::lock_guard<std::mutex> lock(contextMutex);
    interruptContext = mContext.get();
    interruptWake = std::move(wake);
    SetConsoleCtrlHandler(onConsoleEvent, TRUE);
}

// The handler stays and only counts.
Interrupts::~Interrupts()
{
    const std::lock_guard<std::mutex> lock(contextMutex);
    interruptContext = nullptr;
    interruptWake = {};
}

QFunctionPointer functionIn(const QString&, const char* name)
{
    std::array<HMODULE, 1024> modules = {};
    DWORD bytes = 0;
    EnumProcessModules(GetCurrentProcess(), modules.data(), sizeof modules, &bytes);
    for (HMODULE module : modules) {
        if (const FARPROC function = module ? GetProcAddress(module, name) : nullptr)
            return reinterpret_cast<QFunctionPointer>(function);
    }
    return nullptr;
}

void leave(int status)
{
    TerminateProcess(GetCurrentProcess(), UINT(status));
    std::abort();
}

} // namespace Platform
