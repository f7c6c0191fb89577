#include "host/doctor/Platform.h"

#include <QLibrary>

#ifdef Q_OS_WIN
#include <qt_windows.h>

#include <psapi.h>
#endif

namespace DoctorPlatform {

#ifdef Q_OS_WIN

QFunctionPointer symbolBehind(const QString&, const char* name)
{
    HMODULE modules[1024];
    DWORD bytes = 0;
    if (!EnumProcessModules(GetCurrentProcess(), modules, sizeof modules, &bytes))
        return nullptr;
    for (DWORD i = 0; i < qMin<DWORD>(bytes, sizeof modules) / sizeof *modules; ++i) {
        if (const FARPROC function = GetProcAddress(modules[i], name))
            return reinterpret_cast<QFunctionPointer>(function);
    }
    return nullptr;
}

#else

QFunctionPointer symbolBehind(const QString& path, const char* name)
{
    // The loader looks into the library first and then into all that it needs.
    return QLibrary(path).resolve(name);
}

#endif

} // namespace DoctorPlatform
