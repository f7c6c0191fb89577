#pragma once

#include <QString>

#include "host/Format.h"

/// What a finish code other than 0 means for the user of a job of this format, with the code. `inputPath` is
/// named in it; `description` is the module's own text.
QString failureText(const Format& format, const QString& inputPath, int code, const QString& description);

/// An addition to a failure: the first of the folders whose disk has less room than `bytes`. Empty when all
/// have.
QString roomHint(const QStringList& folders, qint64 bytes);
