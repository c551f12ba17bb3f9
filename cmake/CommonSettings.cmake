# Compiler settings shared by every target of the project, carried by one INTERFACE target
# instead of global definitions, so a target states what it needs by linking it.
add_library(tesselex_common INTERFACE)
target_compile_features(tesselex_common INTERFACE cxx_std_20)
if(MSVC)
    target_compile_options(tesselex_common INTERFACE /W4 /WX /utf-8 /permissive-)
else()
    target_compile_options(tesselex_common INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
        -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual -Werror)
endif()
if(MINGW)
    # mingw-w64's GCC 12 reports a false overlap inside std::string's own copy (GCC bug 105651).
    target_compile_options(tesselex_common INTERFACE -Wno-restrict)
endif()
if(WIN32)
    # Every executable carries a version resource and the icon (cmake/WindowsResources.cmake).
    enable_language(RC)
    # Wide-character Windows functions, and no min/max macros in the way of std::min.
    target_compile_definitions(tesselex_common INTERFACE UNICODE _UNICODE NOMINMAX
                                                         WIN32_LEAN_AND_MEAN)
endif()
target_compile_definitions(tesselex_common INTERFACE QT_NO_CAST_FROM_ASCII)
target_include_directories(tesselex_common INTERFACE ${PROJECT_SOURCE_DIR})

if(TESSELEX_SANITIZE)
    target_compile_options(tesselex_common INTERFACE
        -fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    target_link_options(tesselex_common INTERFACE -fsanitize=address,undefined)
endif()

# The fuzzing build: every layer is instrumented for coverage and checked by ASan and UBSan;
# only the targets in fuzz/ link libFuzzer's own main.
if(TESSELEX_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        message(FATAL_ERROR "TESSELEX_FUZZ needs clang (libFuzzer)")
    endif()
    target_compile_options(tesselex_common INTERFACE
        -fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer
        -fno-sanitize-recover=undefined)
    target_link_options(tesselex_common INTERFACE -fsanitize=address,undefined)
endif()

# Collects the sources of one layer folder. Layers are globbed so that a new class needs no
# edit of a shared list; CONFIGURE_DEPENDS makes the build notice added files. A platform edge
# has one file per platform: *Win.cpp is built on Windows only, *Posix.cpp everywhere else.
function(tesselex_layer_sources out dir)
    file(GLOB_RECURSE srcs CONFIGURE_DEPENDS ${dir}/*.cpp)
    if(WIN32)
        list(FILTER srcs EXCLUDE REGEX "Posix\\.cpp$")
    else()
        list(FILTER srcs EXCLUDE REGEX "Win\\.cpp$")
    endif()
    set(${out} ${srcs} PARENT_SCOPE)
endfunction()
