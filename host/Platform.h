#pragma once

#include <QString>

#include <cstdio>
#include <functional>

class QObject;

/// All that differs between the systems the host runs on.
namespace Platform {

/// To be called first of all, before the application object is made: makes the terminal and the file names
/// UTF-8.
void prepare();

bool isTerminal(std::FILE* stream);

/// Makes `folder` the system's temporary location for this process and those that it starts.
void setTemporaryFolder(const QString& folder);

/// From now on the ways to end a program from outside (Ctrl-C, a closed terminal, a polite kill) end it no
/// more: `wake` is called in the thread of `context`, by its event loop. An interrupt that this process was
/// started to ignore stays ignored. To be called once.
void catchInterrupts(QObject* context, std::function<void()> wake);

/// The number of the first interrupt that came, such as SIGINT's 2, or 0. Known at once, also before the
/// event loop turns: an encoder on the same terminal gets the same Ctrl-C, and its end may be seen first.
int interrupt();

/// A hold on a folder, which ends with the process at the latest, however that ends.
class FolderHold
{
public:
    /// Takes the hold, unless another one, of any process, is on the folder.
    explicit FolderHold(const QString& folder);
    ~FolderHold();
    Q_DISABLE_COPY_MOVE(FolderHold)

    bool isHeld() const;
    void release();

private:
    qintptr mHandle;
};

} // namespace Platform
