# Run by cpack between the installation and the packages: what Debian wants compressed, without a time in it, or
# without symbols.
file(GLOB_RECURSE pages "${CPACK_TEMPORARY_DIRECTORY}/changelog*" "${CPACK_TEMPORARY_DIRECTORY}/*.1")
list(FILTER pages INCLUDE REGEX "/usr/share/(doc|man)/.*[^z]$")
foreach(page IN LISTS pages)
    execute_process(COMMAND gzip -9nf "${page}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()

file(GLOB_RECURSE programs "${CPACK_TEMPORARY_DIRECTORY}/cJpeg")
execute_process(COMMAND strip --remove-section=.comment ${programs} COMMAND_ERROR_IS_FATAL ANY)
