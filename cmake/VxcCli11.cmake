# CLI11, headers alone, which reads the command line. Through a link of our own: they serve every system, but the folder
# they lie in may hold headers of this system, which a build for another one must not see.
find_path(VXC_CLI11 CLI/CLI.hpp PATHS /usr/include /usr/local/include NO_CMAKE_FIND_ROOT_PATH REQUIRED
    DOC "The folder with CLI11's folder CLI")
set(link "${PROJECT_BINARY_DIR}/cli11")
file(MAKE_DIRECTORY "${link}")
file(CREATE_LINK "${VXC_CLI11}/CLI" "${link}/CLI" COPY_ON_ERROR SYMBOLIC)
add_library(vxc_cli11 INTERFACE)
target_include_directories(vxc_cli11 SYSTEM INTERFACE "${link}")
