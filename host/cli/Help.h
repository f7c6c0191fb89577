#pragma once

#include <QString>

/// The usual options, on one screen of 80 by 24.
QString shortHelp();

/// All options by groups, examples and exit statuses.
QString wholeHelp();
