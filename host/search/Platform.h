#pragma once

class QProcess;

/// What differs between the systems that the host's own processes run on.
namespace Platform {

/// Asks the system to end the process with this program, however that ends. Call before the start. Linux ties
/// it to the thread that starts the process.
void tieToHost(QProcess& process);

/// The second half, to be called once the process has started.
void tieStarted(QProcess& process);

} // namespace Platform
