#pragma once

#include <QString>

class QObject;

/// Encoders that were killed and have not died yet, of runs that are over for the host. Callable from any
/// thread.
namespace DyingEncoders {

/// Moves the object that watches such an encoder to a thread of the module's own, which lasts as long as the
/// process. The object lives in the calling thread.
void adopt(QObject* watcher);

/// A dying encoder may still write to this file, from hold() to let().
void hold(const QString& output);
void let(const QString& output);
bool isHeld(const QString& output);

} // namespace DyingEncoders
