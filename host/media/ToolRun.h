#pragma once

#include <QByteArray>
#include <QObject>
#include <QProcess>
#include <QStringList>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>

/// What a helper program is to do.
struct ToolCall
{
    QString program; ///< its path
    QStringList arguments;
    QString standardInput = {};             ///< a file; empty: there is nothing to read
    QString folder = {};                    ///< where relative paths begin
    QStringList feeder = {};                ///< arguments of a second run, whose output is this one's input
    std::chrono::milliseconds timeLimit{0}; ///< 0: none
    /// Gets the output line by line, none of which is kept. It does not let the run go.
    std::function<void(const QByteArray& line)> takeLine = {};

    /// The path of the program of that bare name that lies beside the host.
    static QString beside(const QString& name);
    /// Calls of the programs beside the host, with the options that all of their runs have.
    static ToolCall ffmpeg(const QStringList& arguments, const QString& standardInput = {});
    static ToolCall ffprobe(const QStringList& arguments, const QString& standardInput = {});
    /// The options by which both open an input: fileAddress() or "pipe:0".
    static QStringList input(const QString& address);
    /// A path as both take it: never an option, never a protocol's address. A name with a percent sign is a
    /// pattern of images to them all the same: such an image has to be the standard input.
    static QString fileAddress(const QString& path);
};

/// What came of it.
struct ToolResult
{
    /// Why it did not run to its end, such as "ffprobe could not be started: no such file". Empty when it
    /// did, with whatever exit code.
    QString error;
    int exitCode = 0;
    QByteArray output; ///< whole: more than 16 MiB is an error
    QByteArray log;    ///< the last megabyte of its standard error

    bool isSuccess() const { return error.isEmpty() && exitCode == 0; }
    /// Why there is no success, for people: the error, or else the log's last line.
    QString reason() const;
};

/// Runs helper programs, one at a time. A run ends with this object at the latest, and with the host in
/// whatever way that ends; on Linux also with the thread that started it.
class ToolRun : public QObject
{
    Q_OBJECT

public:
    ToolRun() = default;
    ~ToolRun() override { stop(); }

    /// Ends in one ended(), from the event loop: whoever hears it may start the next run or let the object
    /// go.
    void start(const ToolCall& call);

    /// The same without an event loop: returns when the program has ended.
    static ToolResult runAndWait(const ToolCall& call);

signals:
    void ended(const ToolResult& result);

private:
    std::unique_ptr<QProcess> makeProcess() const;
    void read();
    void fail(const QString& error);
    void onTimeout();
    void onFinished(int exitCode, QProcess::ExitStatus status);
    void end();
    void stop();

    ToolCall mCall;
    std::unique_ptr<QProcess> mProcess;
    std::unique_ptr<QProcess> mFeeder;
    QTimer mTimer;
    ToolResult mResult;
    bool mIsEnded = true;
};
