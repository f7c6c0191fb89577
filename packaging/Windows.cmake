# The ZIP for Windows: the programs, the module and the encoders with all the DLLs that they need in bin/, what a host is
# built with beside. VXC_RUNTIME_FOLDERS names where the DLLs lie.
set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME "vxcompressor-${PROJECT_VERSION}-windows-x86_64")

set(VXC_RUNTIME_FOLDERS "" CACHE STRING "Where the DLLs of Qt, FFmpeg and the compiler lie")
if(CMAKE_CROSSCOMPILING)
    set(tool "
        set(CMAKE_GET_RUNTIME_DEPENDENCIES_PLATFORM windows+pe)
        set(CMAKE_GET_RUNTIME_DEPENDENCIES_TOOL objdump)
        set(CMAKE_GET_RUNTIME_DEPENDENCIES_COMMAND \"${CMAKE_OBJDUMP}\")")
endif()
# Dependencies come in small letters, which elsewhere are other files; what is found nowhere is the system's own.
list(TRANSFORM VXC_RUNTIME_FOLDERS APPEND "/*.dll" OUTPUT_VARIABLE patterns)
install(CODE "${tool}
    file(GLOB programs \"${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/ff*.exe\")
    file(GET_RUNTIME_DEPENDENCIES RESOLVED_DEPENDENCIES_VAR dlls UNRESOLVED_DEPENDENCIES_VAR missing
        EXECUTABLES \"$<TARGET_FILE:vxcompress>\" \${programs} LIBRARIES \"$<TARGET_FILE:VxCompressor>\"
        DIRECTORIES ${VXC_RUNTIME_FOLDERS} PRE_EXCLUDE_REGEXES \"^(api|ext)-ms-\" POST_EXCLUDE_REGEXES \"[Ss]ystem32\")
    file(GLOB offered ${patterns})
    foreach(file IN LISTS offered)
        cmake_path(GET file FILENAME name)
        string(TOLOWER \"\${name}\" name)
        list(FIND missing \"\${name}\" found)
        if(NOT found EQUAL -1)
            list(APPEND dlls \"\${file}\")
        endif()
    endforeach()
    file(INSTALL \${dlls} DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${VXC_PROGRAM_FOLDER}\")"
    COMPONENT program)
