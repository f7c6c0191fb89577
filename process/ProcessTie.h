#pragma once

class QProcess;

namespace Platform {

/// Has the system end the process with this program, however that ends. Call before the start.
///
/// Linux ties it to the thread that starts the process: it is killed when that thread ends.
///
/// False: the system has no such thing or refuses it, and the process may live on.
bool tieToHost(QProcess& process);

} // namespace Platform
