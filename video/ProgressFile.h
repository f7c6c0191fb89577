#pragma once

#include <QString>
#include <QStringList>

/// Where one run of ffmpeg reports how far it is; ProgressThread reads it.
namespace ProgressFile {

/// A path in the temporary directory that no other run of this process has.
QString newPath();

/// The elements of ffmpeg's command that name it.
QStringList elements(const QString& path);

/// False when it is left: something holds it.
bool remove(const QString& path);

} // namespace ProgressFile
