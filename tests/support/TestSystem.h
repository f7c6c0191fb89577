#pragma once

#include <QFileInfo>
#include <QStringList>

/// All that differs between the systems that the tests run on.
namespace TestSystem {

/// Why one of these things is not to be had here, such as "pipe" or "symbolic link"; null where all are. For
/// QSKIP.
const char* reasonAgainst(const QStringList& things);
/// Why no file here can have that name; null where one can.
const char* reasonAgainstName(const QString& name);
/// What the ffmpeg beside the program has not of some encoders, formats and filters; null where it has all.
const char* reasonAgainstFfmpeg(const QStringList& parts);

/// Whether it is a process that this one has started.
bool isRunning(int processId);
/// False where there are no signals.
bool sendSignal(int processId, int signal);
/// Whether it is its owner's alone, as far as the system has bits for that.
bool isPrivate(const QFileInfo& file);

/// The largest file that this process and those started from now on can write; any without bytes. Nothing
/// where there is no such limit.
void limitFiles(const QString& bytes);

} // namespace TestSystem
