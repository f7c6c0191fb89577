#pragma once

#include <QByteArray>
#include <QString>

#include <filesystem>

/// File names byte for byte. On Unix a name is bytes, and QString's own conversion loses those that are no
/// UTF-8. Here each of these becomes a lone surrogate from U+DC80 on, which no valid name contains, and
/// becomes the same byte again on the way out. So a name travels through QString whole, and all that opens
/// files by user's paths goes through here: QFile and QFileInfo would look for a name of another spelling.
namespace NativePath {

QString fromNative(const std::filesystem::path& path);
std::filesystem::path toNative(const QString& text);

#ifndef Q_OS_WIN
QString fromBytes(const QByteArray& bytes);
QByteArray toBytes(const QString& text);
#endif

/// Whether Qt, and all that is told names as text, can carry the path.
bool isPlain(const QString& text);

/// The last part, and its suffix: what is behind the last dot, empty for ".name" and "name.".
QString fileName(const QString& path);
QString suffix(const QString& path);
/// The last part without its suffix and dot.
QString baseName(const QString& path);
/// The folder part: "." for a bare name.
QString folder(const QString& path);
QString join(const QString& folder, const QString& name);
QString absolute(const QString& path);

} // namespace NativePath
