#pragma once

#include <QByteArray>

#include "host/report/Findings.h"

/// The findings as one JSON object in one line: `type` is "report".
QByteArray reportJson(const Findings& sum);
