#pragma once

#include <QString>

#include "host/report/Findings.h"

/// The findings as a page that needs nothing beside itself: no script, no network. Well-formed XML.
QString reportHtml(const Findings& sum);
