#pragma once

#include <QFunctionPointer>
#include <QString>

/// What differs between the systems and only the doctor asks.
namespace DoctorPlatform {

/// A function of the loaded library at `path` or of the libraries that it brought with it. Null when none has
/// it.
QFunctionPointer symbolBehind(const QString& path, const char* name);

} // namespace DoctorPlatform
