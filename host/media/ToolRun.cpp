#include "host/media/ToolRun.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <utility>

#include "process/ProcessTie.h"

using namespace Qt::StringLiterals;

namespace {

// Of ffprobe's answers, thousands of streams and chapters need less.
constexpr qsizetype kMostOutput = qsizetype(16) << 20;
constexpr qsizetype kMostLog = qsizetype(1) << 20;

#ifdef Q_OS_WIN
constexpr auto kProgramSuffix = ".exe"_L1;
#else
constexpr auto kProgramSuffix = ""_L1;
#endif

} // namespace

QString ToolCall::beside(const QString& name)
{
    return QCoreApplication::applicationDirPath() + u'/' + name + kProgramSuffix;
}

ToolCall ToolCall::ffmpeg(const QStringList& arguments, const QString& standardInput)
{
    static const QStringList kOptions{u"-v"_s, u"error"_s, u"-nostats"_s, u"-nostdin"_s};
    return {beside(u"ffmpeg"_s), kOptions + arguments, standardInput};
}

ToolCall ToolCall::ffprobe(const QStringList& arguments, const QString& standardInput)
{
    return {beside(u"ffprobe"_s), QStringList{u"-v"_s, u"warning"_s} + arguments, standardInput};
}

QStringList ToolCall::input(const QString& address)
{
    return {u"-i"_s, address};
}

QString ToolCall::fileAddress(const QString& path)
{
    return u"file:"_s + path;
}

QString ToolResult::reason() const
{
    if (isSuccess() || !error.isEmpty())
        return error;
    const QByteArray last = log.trimmed().split('\n').last().trimmed();
    return last.isEmpty() ? u"it failed with the exit code %1"_s.arg(exitCode) : QString::fromUtf8(last);
}

void ToolRun::start(const ToolCall& call)
{
    stop();
    mCall = call;
    mResult = {};
    mIsEnded = false;
    mProcess = makeProcess();
    connect(mProcess.get(), &QProcess::readyReadStandardOutput, this, &ToolRun::read);
    connect(mProcess.get(), &QProcess::readyReadStandardError, this, &ToolRun::read);
    connect(mProcess.get(), &QProcess::finished, this, &ToolRun::onFinished);
    connect(mProcess.get(), &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            fail(u"could not be started: %1"_s.arg(mProcess->errorString()));
    });
    connect(&mTimer, &QTimer::timeout, this, &ToolRun::onTimeout, Qt::UniqueConnection);
    mTimer.setSingleShot(true);
    if (mCall.timeLimit.count() > 0)
        mTimer.start(mCall.timeLimit);
    mProcess->setStandardInputFile(call.standardInput.isEmpty() ? QProcess::nullDevice()
                                                                : call.standardInput);
    if (!call.feeder.isEmpty()) {
        mFeeder = makeProcess();
        mFeeder->setStandardInputFile(QProcess::nullDevice());
        mFeeder->setStandardErrorFile(QProcess::nullDevice());
        mFeeder->setStandardOutputProcess(mProcess.get());
        mFeeder->start(call.program, call.feeder);
    }
    mProcess->start(call.program, call.arguments);
}

std::unique_ptr<QProcess> ToolRun::makeProcess() const
{
    auto process = std::make_unique<QProcess>();
    process->setWorkingDirectory(mCall.folder);
    Platform::tieToHost(*process);
    return process;
}

ToolResult ToolRun::runAndWait(const ToolCall& call)
{
    ToolRun run;
    run.start(call);
    run.mProcess->waitForFinished(call.timeLimit.count() > 0 ? int(call.timeLimit.count()) : -1);
    if (!run.mIsEnded)
        run.onTimeout();
    return run.mResult;
}

void ToolRun::read()
{
    QByteArray& output = mResult.output;
    output += mProcess->readAllStandardOutput();
    if (mCall.takeLine) {
        qsizetype begin = 0;
        for (qsizetype end = 0; (end = output.indexOf('\n', begin)) >= 0; begin = end + 1)
            mCall.takeLine(output.mid(begin, end - begin));
        output.remove(0, begin);
    }
    mResult.log += mProcess->readAllStandardError();
    mResult.log.remove(0, mResult.log.size() - kMostLog);
    if (output.size() > kMostOutput)
        fail(u"wrote too much"_s);
}

void ToolRun::fail(const QString& error)
{
    if (mIsEnded)
        return;
    mResult.error = QFileInfo(mCall.program).completeBaseName() + u' ' + error;
    mProcess->kill();
    end();
}

void ToolRun::onTimeout()
{
    fail(u"did not end within %1 seconds"_s.arg(double(mCall.timeLimit.count()) / 1000));
}

void ToolRun::onFinished(int exitCode, QProcess::ExitStatus status)
{
    read();
    mResult.exitCode = exitCode;
    if (status != QProcess::NormalExit)
        return fail(u"crashed"_s);
    end();
}

// Later: this may be inside a signal of the process, or inside start().
void ToolRun::end()
{
    if (std::exchange(mIsEnded, true))
        return;
    mTimer.stop();
    const auto tell = [this] {
        stop();
        const ToolResult result = mResult;
        emit ended(result);
    };
    QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
}

void ToolRun::stop()
{
    for (std::unique_ptr<QProcess>* const process : {&mProcess, &mFeeder}) {
        if (!*process)
            continue;
        (*process)->disconnect(this);
        (*process)->kill();
        (*process)->waitForFinished();
        process->reset();
    }
}
