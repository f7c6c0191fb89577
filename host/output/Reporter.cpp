#include "host/output/Reporter.h"

#include <QCoreApplication>
#include <QProcess>
#include <QThread>

#include "host/output/JsonReporter.h"
#include "host/output/TerminalReporter.h"
#include "host/system/PathText.h"

using namespace Qt::StringLiterals;

namespace {

JobEvents* logEvents = nullptr;
bool logIsVerbose = false;

QString asCommand(const QStringList& words)
{
    QStringList quoted;
    for (const QString& word : words)
        quoted.append(shellWord(word));
    return "$ "_L1 + quoted.join(u' ');
}

// The module's command as a shell would take it; any other line as it is.
QString readable(const QString& line)
{
    static const QLatin1String kCommand("ffmpeg cmd: ");
    const QString text = line.startsWith(u'"') && line.endsWith(u'"') ? line.mid(1, line.size() - 2) : line;
    if (!text.startsWith(kCommand))
        return shown(line);
    QString command = text.mid(kCommand.size()).trimmed();
    // As Qt's debug stream wrote it.
    if (command.startsWith(u'"') && command.endsWith(u'"'))
        command = command.mid(1, command.size() - 2).replace("\\\""_L1, "\""_L1).replace("\\\\"_L1, "\\"_L1);
    return asCommand(QProcess::splitCommand(command));
}

void handle(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (type == QtDebugMsg && !logIsVerbose)
        return;
    const auto tell = [line = readable(text)] {
        if (logEvents)
            logEvents->remarked(line);
    };
    if (!qApp || QThread::currentThread() == qApp->thread())
        tell();
    else
        QMetaObject::invokeMethod(qApp, tell, Qt::QueuedConnection);
}

bool wantsColor(const Options& options, Platform::Channel channel)
{
    if (options.color != ColorMode::Auto)
        return options.color == ColorMode::Always;
    return Platform::hasColour(channel);
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
    const TextStyle style{options.quiet, wantsColor(options, Platform::Channel::Error)};
    if (canDraw() && !options.quiet)
        return std::make_unique<TerminalReporter>(style);
    return std::make_unique<TextReporter>(style);
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
