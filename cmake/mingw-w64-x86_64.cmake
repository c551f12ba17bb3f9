# Cross-compiles for 64-bit Windows with Debian's mingw-w64 (posix threads, for std::thread).
# The executables run on Linux through Wine: CTest starts them via the emulator set here.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(TOOLCHAIN_PREFIX x86_64-w64-mingw32)

set(CMAKE_C_COMPILER ${TOOLCHAIN_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${TOOLCHAIN_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${TOOLCHAIN_PREFIX}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${TOOLCHAIN_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Static runtime: the test executables need no mingw DLLs on Wine's path.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")

find_program(TESSELEX_WINE NAMES wine wine64)
if(TESSELEX_WINE)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine-run)
endif()

# Qt for Windows (scripts/qt-windows) lives outside the cross root: its prefix joins the root
# path so that find_package finds it, and the programs then take the mingw runtime as DLLs
# beside Qt's own instead of linking it statically.
if(TESSELEX_WINDOWS_QT)
    list(APPEND CMAKE_FIND_ROOT_PATH ${TESSELEX_WINDOWS_QT})
    set(CMAKE_EXE_LINKER_FLAGS_INIT "")
endif()

# libcurl for Windows (scripts/curl-windows), the uploads' transfer library, likewise.
if(TESSELEX_WINDOWS_CURL)
    list(APPEND CMAKE_FIND_ROOT_PATH ${TESSELEX_WINDOWS_CURL})
endif()
