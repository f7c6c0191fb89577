# The encoders that the module runs, and ffprobe for the host. They lie beside the host's executable, under these
# names: staged into bin/ by the target vxc_encoders, and installed as the component "encoders".
#
# scripts/setup provides them on Debian; VXC_CJPEG, VXC_PNGQUANT, VXC_FFMPEG and VXC_FFPROBE name others.
set(vxc_cache "$ENV{XDG_CACHE_HOME}")
if(NOT vxc_cache)
    set(vxc_cache "$ENV{HOME}/.cache")
endif()

# With the target's suffix: a cross build for Windows finds no program of the system that it runs on.
set(suffix "${CMAKE_EXECUTABLE_SUFFIX}")
find_program(VXC_CJPEG "cJpeg${suffix}" HINTS "${vxc_cache}/vxcompressor/mozjpeg-8.0.0"
    DOC "The JPEG encoder: mozjpeg's cjpeg")
find_program(VXC_PNGQUANT "pngquant${suffix}" DOC "The PNG encoder")
find_program(VXC_FFMPEG "ffmpeg${suffix}" DOC "The encoder for video and WebP")
find_program(VXC_FFPROBE "ffprobe${suffix}" DOC "What the host looks at results with")

if(VXC_INSTALL_ENCODERS)
    set(exclude "")
else()
    # `cmake --install … --component encoders` installs them all the same.
    set(exclude EXCLUDE_FROM_ALL)
endif()

set(vxc_staged "")
foreach(encoder IN ITEMS cJpeg pngquant ffmpeg ffprobe)
    string(TOUPPER "VXC_${encoder}" variable)
    set(program "${${variable}}")
    if(program AND EXISTS "${program}")
        set(staged "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${encoder}${suffix}")
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
        install(PROGRAMS "${program}" DESTINATION "${VXC_PROGRAM_FOLDER}" RENAME "${encoder}${suffix}"
            COMPONENT encoders ${exclude})
    elseif(WIN32)
        message(WARNING "${encoder} is missing: give its path in ${variable} or put it beside the host.")
    else()
        message(FATAL_ERROR "${encoder} is missing. Run scripts/setup, give its path in ${variable}, or build the "
            "library alone with -DVXC_HOST=OFF.")
    endif()
endforeach()
add_custom_target(vxc_encoders ALL DEPENDS ${vxc_staged})
