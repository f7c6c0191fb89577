#pragma once

#include <QDebug>

/// A line for Qt's debug log that carries no file, line or function, also in builds that record them.
inline QDebug debugLine()
{
    return QMessageLogger().debug();
}
