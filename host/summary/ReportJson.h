#pragma once

#include <QByteArray>

#include "host/summary/Findings.h"

/// The findings as one JSON object in one line: `type` is "report".
QByteArray reportJson(const Findings& sum);
