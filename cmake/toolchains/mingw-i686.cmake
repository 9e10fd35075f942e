# Builds for 32-bit Windows with Debian's g++-mingw-w64-i686-posix:
#   cmake -S . -B build/win32 --toolchain cmake/toolchains/mingw-i686.cmake

set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
