#include "host/output/Reporter.h"

#include <QCoreApplication>
#include <QThread>

#include "host/output/JsonReporter.h"
#include "host/output/TerminalReporter.h"
#include "host/system/PathText.h"

using namespace Qt::StringLiterals;

namespace {

JobEvents* logEvents = nullptr;
bool logIsVerbose = false;

void handle(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (type == QtDebugMsg && !logIsVerbose)
        return;
    const auto remark = [line = shown(text)] {
        if (logEvents)
            logEvents->remarked(line);
    };
    if (!qApp || QThread::currentThread() == qApp->thread())
        remark();
    else
        QMetaObject::invokeMethod(qApp, remark, Qt::QueuedConnection);
}

bool canDraw()
{
    using Platform::Channel;
#ifdef Q_OS_WIN
    return Platform::isTerminal(Channel::Error);
#else
    const QByteArray terminal = qgetenv("TERM");
    return Platform::isTerminal(Channel::Error) && !terminal.isEmpty() && terminal != "dumb";
#endif
}

} // namespace

std::unique_ptr<JobEvents> makeReporter(const Options& options)
{
    if (options.json)
        return std::make_unique<JsonReporter>(options);
    if (canDraw() && !options.quiet)
        return std::make_unique<TerminalReporter>(options);
    return std::make_unique<TextReporter>(options);
}

ModuleLog::ModuleLog(const Options& options, JobEvents& events)
{
    logEvents = &events;
    logIsVerbose = options.verbose;
    qInstallMessageHandler(handle);
}

ModuleLog::~ModuleLog()
{
    qInstallMessageHandler(nullptr);
    logEvents = nullptr;
}
