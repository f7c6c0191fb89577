#include "host/doctor/SystemProbe.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QStorageInfo>

#include "host/doctor/Platform.h"
#include "host/system/Platform.h"

using namespace Qt::StringLiterals;

ModuleState moduleStateOf(const QString& path)
{
    ModuleState module;
    module.path = QFileInfo(path).canonicalFilePath();
    static const QRegularExpression kVersion(u"\\.so\\.([\\d.]+)$"_s);
    module.version = kVersion.match(module.path).captured(1);
    // The one name that is in every release of FFmpeg and says which it is.
    using VersionInfo = const char* (*)();
    if (const auto info =
            reinterpret_cast<VersionInfo>(DoctorPlatform::symbolBehind(path, "av_version_info")))
        module.ffmpeg = QString::fromUtf8(info());
    return module;
}

TemporaryPlace temporaryPlace()
{
    TemporaryPlace place;
    place.path = Platform::temporaryFolder();
    const QFileInfo folder(place.path);
    if (!folder.isDir())
        place.error = u"there is no such folder"_s;
    else if (!folder.isWritable())
        place.error = u"it is not writable"_s;
    else
        place.freeBytes = QStorageInfo(place.path).bytesAvailable();
    return place;
}

TerminalState terminalState()
{
    TerminalState terminal;
    terminal.isTerminal = Platform::isTerminal(Platform::Channel::Error);
    if (terminal.isTerminal)
        terminal.columns = Platform::terminalSize(Platform::Channel::Error).columns;
    terminal.hasColour = terminal.isTerminal && qEnvironmentVariableIsEmpty("NO_COLOR") &&
                         qEnvironmentVariable("TERM") != "dumb"_L1;
    terminal.isUtf8 = Platform::isLocaleUtf8();
    return terminal;
}
