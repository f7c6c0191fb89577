#pragma once

#include <QString>

#include "host/report/Findings.h"

/// The findings in plain lines for people.
QString reportText(const Findings& sum);

/// What is said in several places.
namespace ReportWords {

QString files(const Findings& sum);
QString runs(const Findings& sum);
QString throughput(const Findings::Machine& machine);
QString seconds(double seconds);

} // namespace ReportWords
