# Installs the project into a folder of the build tree, builds the example against the installed package alone, and runs
# both hosts there on a real image.
set(prefix "${BUILD}/tests/install test/inställed")
file(REMOVE_RECURSE "${BUILD}/tests/install test")
set(photo "${BUILD}/tests/install test/photo.jpg")

function(run)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGV}\nended with ${result}:\n${output}")
    endif()
endfunction()

# Each component alone: a host finds the library under its plain name without what is for development.
foreach(component IN ITEMS library program encoders development)
    run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${prefix}" --component ${component})
    if(component STREQUAL "encoders")
        run("${prefix}/bin/ffmpeg" -v error -y -f lavfi -i mandelbrot=s=640x480 -frames:v 1 -q:v 1 "${photo}")
        run("${prefix}/bin/vxcompress" "${photo}" "${photo}.smaller.jpg")
    endif()
endforeach()
run("${CMAKE_COMMAND}" -S "${SOURCE}/examples" -B "${BUILD}/tests/install test/example" -G "${GENERATOR}"
    "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_CXX_FLAGS=${FLAGS}" "-DCMAKE_PREFIX_PATH=${prefix};${PREFIX_PATH}"
    "-DCMAKE_INSTALL_PREFIX=${prefix}")
run("${CMAKE_COMMAND}" --build "${BUILD}/tests/install test/example")
run("${CMAKE_COMMAND}" --install "${BUILD}/tests/install test/example")

file(SIZE "${photo}" before)
foreach(host IN ITEMS embed vxcompress)
    set(smaller "${BUILD}/tests/install test/${host}.jpg")
    run("${prefix}/bin/${host}" "${photo}" "${smaller}")
    file(SIZE "${smaller}" after)
    if(NOT after LESS before)
        message(FATAL_ERROR "${host} made ${after} bytes of ${before}")
    endif()
endforeach()

# The installed folder stands alone.
file(GLOB installed "${prefix}/bin/*")
foreach(file IN LISTS installed)
    if(IS_SYMLINK "${file}")
        message(FATAL_ERROR "${file} leads out of the installation")
    endif()
endforeach()
