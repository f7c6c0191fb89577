# Builds for Windows x86-64 on Debian, by mingw-w64; scripts/windows/toolchain provides what is named here.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(vxc_kit "$ENV{VX_WINDOWS_FOLDER}")
if(NOT vxc_kit)
    set(vxc_kit "$ENV{XDG_CACHE_HOME}")
    if(NOT vxc_kit)
        set(vxc_kit "$ENV{HOME}/.cache")
    endif()
    string(APPEND vxc_kit "/vxcompressor/windows")
endif()

# The compilers with threads as the standard library wants them.
set(triple x86_64-w64-mingw32)
set(CMAKE_C_COMPILER /usr/bin/${triple}-gcc-posix)
set(CMAKE_CXX_COMPILER /usr/bin/${triple}-g++-posix)
set(CMAKE_RC_COMPILER /usr/bin/${triple}-windres)
set(CMAKE_AR /usr/bin/${triple}-gcc-ar-posix CACHE FILEPATH "")
set(CMAKE_RANLIB /usr/bin/${triple}-gcc-ranlib-posix CACHE FILEPATH "")
# Moves that ask for alignment crash: this compiler does not align the stack to 32 bytes for Windows.
add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-Wa,-muse-unaligned-vector-move>)

set(CMAKE_FIND_ROOT_PATH /usr/${triple} "${vxc_kit}/qt" "${vxc_kit}/ffmpeg" "${vxc_kit}/encoders")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
list(APPEND CMAKE_PREFIX_PATH "${vxc_kit}/qt")
# Qt's code generators are this system's, of the same version.
set(QT_HOST_PATH /usr CACHE PATH "")
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/x86_64-linux-gnu/cmake CACHE PATH "")

set(ENV{PKG_CONFIG_LIBDIR} "${vxc_kit}/ffmpeg/lib/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "")

# What is built runs under Wine, CTest's programs by themselves.
get_filename_component(vxc_wine "${CMAKE_CURRENT_LIST_DIR}/../scripts/windows/wine" ABSOLUTE)
set(CMAKE_CROSSCOMPILING_EMULATOR "${vxc_wine}")

# What programs need of DLLs, and the encoders that lie beside the host.
set(VXC_RUNTIME_FOLDERS "${vxc_kit}/qt/bin" "${vxc_kit}/ffmpeg/bin" "${vxc_kit}/rt" CACHE STRING "")
foreach(program IN ITEMS ffmpeg ffprobe)
    string(TOUPPER "VXC_${program}" variable)
    set(${variable} "${vxc_kit}/ffmpeg/bin/${program}.exe" CACHE FILEPATH "")
endforeach()
foreach(program IN ITEMS cJpeg pngquant)
    string(TOUPPER "VXC_${program}" variable)
    set(${variable} "${vxc_kit}/encoders/${program}.exe" CACHE FILEPATH "")
endforeach()
