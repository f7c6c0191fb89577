# The built library lets one function be seen and nothing else, not even its own classes.
execute_process(COMMAND "${NM}" --dynamic --defined-only --format=posix "${LIBRARY}"
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" lines "${symbols}")
list(TRANSFORM lines REPLACE " .*" "")
if(NOT lines STREQUAL "CompressorEntry")
    message(FATAL_ERROR "exported: ${lines}")
endif()
