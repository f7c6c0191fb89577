#pragma once

#include <QString>
#include <QStringList>

#include <variant>

#include "host/job/ExitStatus.h"
#include "host/job/Options.h"

/// The command line asked for no job: print the text and end.
struct NoJob
{
    ExitStatus status; ///< kDelivered: an answer for standard output; else an error
    QString text;
};

/// `arguments` starts with the program's name. Looks at no file.
std::variant<Options, ReportOptions, DoctorOptions, NoJob> parseOptions(const QStringList& arguments);
