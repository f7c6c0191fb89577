#pragma once

#include <QObject>
#include <QString>

#include <memory>

class TaskThread;

/// One run of one task of the module: what goes into it.
struct TaskRequest
{
    QString inputPath;  ///< absolute, and one that Qt can carry
    QString outputPath; ///< the same; its suffix chooses the encoder. A name that no file has
    QString quality;    ///< on the encoder's scale, or a percentage of the input's size
    bool isPercentage = false;
    QString scale;         ///< "1", "2" or "4"; empty leaves the image's size alone
    bool isSample = false; ///< videos only: the first 15 seconds, through estimate()
};

/// Begins a line of the log that holds a command, whose words are separated by zero letters.
inline constexpr char kCommandLog[] = "command:";

/// Runs one request in the task thread, and tells of it in the thread that made this object.
///
/// Every start() ends in exactly one ended(), from the event loop, whatever happens: unless the object goes
/// before, which ends the encoder without a further signal. An object runs once; make another for another
/// run.
class TaskRun : public QObject
{
    Q_OBJECT

public:
    /// How a run ended, where the module had no finish code to tell.
    enum EndCode
    {
        kNoEncoder = -1001, ///< the text is the encoder's name
        kNoLibrary = -1002, ///< the text is the loader's reason
        kDeaf = -1003,      ///< stopped, and the task did not end within seconds
    };

    TaskRun(TaskThread& thread, TaskRequest request);
    ~TaskRun() override;

    void start();
    /// Ends the run early. It then ends with whatever code the task ended with: remember that you stopped it.
    void stop();

    const TaskRequest& request() const { return mRequest; }

signals:
    /// 0.0 to 1.0; videos only. May fall.
    void progressed(float share);
    /// `code` and `text` are the module's (compressor/ICompressTask.h), or an EndCode.
    void ended(int code, const QString& text);

private:
    class Remote;
    void end(int code, const QString& text);

    TaskThread& mThread;
    TaskRequest mRequest;
    std::shared_ptr<Remote> mRemote;
    bool mHasEnded = false;
};
