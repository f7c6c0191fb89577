#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>

class QObject;

/// All that differs between the systems the host runs on, but for files (PlatformFiles.h).
namespace Platform {

enum class Channel
{
    Output = 1,
    Error = 2
};

/// To be called first of all, before the application object is made: makes the terminal and the file names
/// UTF-8, and a reader that went away an error instead of an end.
void prepare();

/// The command line with its file names whole, in the text form of NativePath.
QStringList arguments(int argc, char** argv);

bool isTerminal(Channel channel);
/// Whether colours are welcome there: a terminal that has some, and whose user does not decline them.
inline bool hasColour(Channel channel)
{
    return isTerminal(channel) && qEnvironmentVariableIsEmpty("NO_COLOR") && qgetenv("TERM") != "dumb";
}

/// Whether the user's locale was one of UTF-8 before prepare() saw to that.
bool isLocaleUtf8();

struct TerminalSize
{
    int columns = 80;
    int rows = 24;
};
TerminalSize terminalSize(Channel channel);

/// Whether what is drawn is seen by the terminal's user now: a program in the background keeps still.
bool isInForeground(Channel channel);

/// Writes all of `text`. False when nobody reads any more, or it cannot be written.
bool write(Channel channel, const QString& text);

/// Waits until something can be read there. False when an interrupt came first.
bool waitForInput(int descriptor);

/// The system's temporary location, also one that is not there: QDir::tempPath() makes the working folder of
/// that.
QString temporaryFolder();
/// Makes `folder` the system's temporary location for this process and those that it starts. To be called
/// before there are threads.
void setTemporaryFolder(const QString& folder);

/// Lowers the priority of the calling thread and of the processes that it starts, by 0 to 19.
void lowerPriority(int nice);

/// From now on the ways to end a program from outside (Ctrl-C, a closed terminal, a polite kill) end it no
/// more: `wake` is called in the thread that makes this object, by its event loop, once for each. An
/// interrupt that this process was started to ignore stays ignored. One object a process.
class Interrupts
{
public:
    explicit Interrupts(std::function<void()> wake);
    ~Interrupts();
    Q_DISABLE_COPY_MOVE(Interrupts)

    /// The number of the first interrupt that came, such as SIGINT's 2, or 0. Known at once, also before the
    /// event loop turns: an encoder on the same terminal gets the same Ctrl-C, and its end may be seen first.
    static int first() { return sFirst; }
    /// How many came.
    static int count() { return sCount; }

    /// Counts one; the only part of it that a signal handler may call.
    static void record(int number)
    {
        int none = 0;
        sFirst.compare_exchange_strong(none, number);
        ++sCount;
    }

private:
    static inline std::atomic<int> sFirst = 0;
    static inline std::atomic<int> sCount = 0;
    static_assert(std::atomic<int>::is_always_lock_free, "a signal handler writes it");

    std::unique_ptr<QObject> mContext;
};

/// A function of the loaded library at `path` or of the libraries that it brought with it. Null when none has
/// it.
QFunctionPointer functionIn(const QString& path, const char* name);

/// Ends the process with this status at once: nothing is flushed, nothing destroyed.
[[noreturn]] void leave(int status);

} // namespace Platform
