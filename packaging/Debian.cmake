# Three packages: vxcompress, libvxcompressor0 and libvxcompressor-dev. The module looks for encoders beside the host's
# executable, so the host lies in a folder of its own, with cJpeg and links to the encoders of other packages; what is
# on the search path is a link to it.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# Each package has its own, in the first line of its description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_COMPONENTS_ALL program library development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Older than a package of Debian's own would be.
set(CPACK_DEBIAN_PACKAGE_RELEASE 0vxc1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
# Whatever the umask.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME vxcompress)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "ffmpeg, pngquant")
set(CPACK_COMPONENT_PROGRAM_DEPENDS library)
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION "makes image and video files smaller
A command-line program that compresses JPEG, PNG and WebP images and videos,
one or a whole tree of them in one call. A source is never harmed, and a
result is whole or absent.")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME "libvxcompressor${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "media compression module
A library that a Qt program loads to make image and video files smaller. It
runs encoders that lie beside that program, and watches them.")

# By itself cpack calls ldconfig from scripts, which Debian does by a trigger.
file(WRITE "${CMAKE_CURRENT_BINARY_DIR}/shlibs"
    "libVxCompressor ${PROJECT_VERSION_MAJOR} libvxcompressor${PROJECT_VERSION_MAJOR} (>= ${PROJECT_VERSION})\n")
file(WRITE "${CMAKE_CURRENT_BINARY_DIR}/triggers" "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA
    "${CMAKE_CURRENT_BINARY_DIR}/shlibs" "${CMAKE_CURRENT_BINARY_DIR}/triggers")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvxcompressor-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS qt6-base-dev)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS library)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "media compression module, development files
The headers and the CMake package of the library VxCompressor, for programs
that load it or are linked with it.")

# The host's folder: cJpeg, which Debian has none of, and the others' links.
file(REAL_PATH "${VXC_CJPEG}" cjpeg)
install(PROGRAMS "${cjpeg}" DESTINATION "${VXC_PROGRAM_FOLDER}" RENAME cJpeg COMPONENT program)
set(links "${CMAKE_CURRENT_BINARY_DIR}/links")
file(MAKE_DIRECTORY "${links}")
file(RELATIVE_PATH to_bin "/${VXC_PROGRAM_FOLDER}" "/${CMAKE_INSTALL_BINDIR}")
foreach(encoder IN ITEMS ffmpeg ffprobe pngquant)
    file(CREATE_LINK "${to_bin}/${encoder}" "${links}/${encoder}" SYMBOLIC)
    install(FILES "${links}/${encoder}" DESTINATION "${VXC_PROGRAM_FOLDER}" COMPONENT program)
endforeach()

# What every package has to bring.
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER "CPACK_DEBIAN_${component}_PACKAGE_NAME" name)
    set(docs "${CMAKE_INSTALL_DATAROOTDIR}/doc/${${name}}")
    file(CONFIGURE OUTPUT "${component}.changelog" CONTENT
"vxcompressor (${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium

  * Package of version ${PROJECT_VERSION}.

 -- ${CPACK_PACKAGE_CONTACT}  ${now}
")
    install(FILES "${CMAKE_CURRENT_BINARY_DIR}/${component}.changelog"
        DESTINATION "${docs}" RENAME changelog.Debian COMPONENT ${component})
    install(FILES "${PROJECT_SOURCE_DIR}/CHANGELOG.md"
        DESTINATION "${docs}" RENAME changelog COMPONENT ${component})
    install(FILES debian/${component}.overrides OPTIONAL
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides" RENAME "${${name}}" COMPONENT ${component})
    install(FILES debian/copyright DESTINATION "${docs}" COMPONENT ${component})
endforeach()
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_SOURCE_DIR}/debian/finish.cmake")
