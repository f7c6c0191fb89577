#pragma once

#include <QList>
#include <QStringList>

#include <memory>
#include <variant>

#include "host/job/ExitStatus.h"
#include "host/job/Options.h"

namespace CLI {
class App;
}

/// The command line asked for no work: print the text and end.
struct NoJob
{
    ExitStatus status; ///< kDelivered: an answer for standard output; else an error
    QString text;
};

/// What help, manual and completions say of an option.
struct OptionText
{
    QString group;    ///< its heading
    QString letter;   ///< without dash; empty: none
    QString name;     ///< without dashes
    QString value;    ///< such as "FILE"; empty for a switch
    QString choices;  ///< of its values, separated by blanks; empty where they are not few
    QString help;     ///< one line, without a full stop
    QString fallback; ///< what holds without the option; empty where there is nothing to say

    bool takesFile() const { return value == QLatin1String("FILE") || value == QLatin1String("PATH"); }
};

/// What they say of a command.
struct CommandText
{
    QString name;        ///< empty for the program itself, which compresses
    QString description; ///< a sentence without a full stop
    QString synopsis;    ///< "vxcompress report [--json] FILE..."; a line for each form
    QString footer;      ///< examples and the like
    bool takesNames = false;
    QList<OptionText> options; ///< by groups; the usual ones come first
};

/// What --help prints of a command: the usual options, on one screen of 80 by 24; `isWhole`: all there is to
/// say.
QString helpText(const CommandText& command, bool isWhole);

/// The program, its commands and their options, declared once: what is read of a command line, the help, the
/// manual and the completions all come of this declaration. CLI11, which it is made with, stays inside.
class CommandLine
{
public:
    using Request = std::variant<Options, ReportOptions, DoctorOptions, NoJob>;

    CommandLine();
    ~CommandLine();
    Q_DISABLE_COPY_MOVE(CommandLine)

    /// `arguments` starts with the program's name. Looks at no file. Once for each object.
    Request parse(const QStringList& arguments);

    /// The program itself comes first, then its subcommands.
    QList<CommandText> commands() const;

private:
    void declareJobs();
    void declareReport();
    void declareDoctor();
    QString finishJobs();

    std::unique_ptr<CLI::App> mProgram;
    Options mJobs;
    ReportOptions mReport;
    DoctorOptions mDoctor;
    Request mRequest;
};
