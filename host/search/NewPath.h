#pragma once

#include <QString>

#include <functional>

/// Gives the path of a file that is not there yet, with this suffix, in a folder of the job's own, which sees
/// to it that the file is removed in the end. Nothing is written anywhere else.
using NewPath = std::function<QString(const QString& suffix)>;
