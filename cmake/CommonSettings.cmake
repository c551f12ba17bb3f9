# Compiler settings shared by every target of the project, carried by one INTERFACE target
# instead of global definitions, so a target states what it needs by linking it.
add_library(tesselex_common INTERFACE)
target_compile_features(tesselex_common INTERFACE cxx_std_20)
target_compile_options(tesselex_common INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
    -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual -Werror)
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
# edit of a shared list; CONFIGURE_DEPENDS makes the build notice added files.
function(tesselex_layer_sources out dir)
    file(GLOB_RECURSE srcs CONFIGURE_DEPENDS ${dir}/*.cpp)
    set(${out} ${srcs} PARENT_SCOPE)
endfunction()
