# The encoders that the module runs. They lie beside the host's executable, under these names: staged into bin/ by the
# target vxc_encoders, and installed with the host.
#
# scripts/setup provides them on Debian; VXC_CJPEG, VXC_PNGQUANT and VXC_FFMPEG name others.
set(vxc_cache "$ENV{XDG_CACHE_HOME}")
if(NOT vxc_cache)
    set(vxc_cache "$ENV{HOME}/.cache")
endif()

find_program(VXC_CJPEG cJpeg HINTS "${vxc_cache}/vxcompressor/mozjpeg-8.0.0"
    DOC "The JPEG encoder: mozjpeg's cjpeg")
find_program(VXC_PNGQUANT pngquant DOC "The PNG encoder")
find_program(VXC_FFMPEG ffmpeg DOC "The encoder for video and WebP")

set(vxc_staged "")
foreach(encoder IN ITEMS cJpeg pngquant ffmpeg)
    string(TOUPPER "VXC_${encoder}" variable)
    set(program "${${variable}}")
    if(program AND EXISTS "${program}")
        set(staged "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${encoder}${CMAKE_EXECUTABLE_SUFFIX}")
        if(CMAKE_HOST_WIN32 OR WIN32)
            set(stage copy_if_different)
        else()
            set(stage create_symlink)
        endif()
        add_custom_command(OUTPUT "${staged}"
            COMMAND "${CMAKE_COMMAND}" -E make_directory "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}"
            COMMAND "${CMAKE_COMMAND}" -E ${stage} "${program}" "${staged}"
            DEPENDS "${program}" COMMENT "Staging ${encoder}" VERBATIM)
        list(APPEND vxc_staged "${staged}")
        # A link would lead out of the installed folder.
        file(REAL_PATH "${program}" program)
        install(PROGRAMS "${program}" DESTINATION "${CMAKE_INSTALL_BINDIR}"
            RENAME "${encoder}${CMAKE_EXECUTABLE_SUFFIX}")
    elseif(WIN32)
        message(WARNING "The encoder ${encoder} is missing: give its path in ${variable} or put it beside the host.")
    else()
        message(FATAL_ERROR "The encoder ${encoder} is missing. Run scripts/setup, or give its path in ${variable}.")
    endif()
endforeach()
add_custom_target(vxc_encoders ALL DEPENDS ${vxc_staged})
