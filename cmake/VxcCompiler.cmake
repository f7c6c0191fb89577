# How every target of the project is compiled: link vxc_compiler PRIVATE.
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

add_library(vxc_compiler INTERFACE)
target_compile_features(vxc_compiler INTERFACE cxx_std_20)
target_compile_definitions(vxc_compiler INTERFACE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH)
if(MSVC)
    target_compile_options(vxc_compiler INTERFACE /W4 /utf-8 $<$<BOOL:${VXC_WERROR}>:/WX>)
else()
    # The waiting macros of later versions of Qt Test convert in the code that uses them.
    set(is_qt_test "$<IN_LIST:Qt6::Test,$<TARGET_PROPERTY:LINK_LIBRARIES>>")
    target_compile_options(vxc_compiler INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
        -Woverloaded-virtual -Wold-style-cast $<$<NOT:${is_qt_test}>:-Wconversion> -Wno-sign-conversion
        $<$<BOOL:${VXC_WERROR}>:-Werror>)
endif()

if(VXC_SANITIZE)
    # Every object of a program must agree on the sanitizers, Qt's generated sources included.
    add_compile_options(-fsanitize=${VXC_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${VXC_SANITIZE})
endif()
if(VXC_FUZZ)
    # Only the targets of tests/fuzz bring the fuzzer itself, and its main().
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
