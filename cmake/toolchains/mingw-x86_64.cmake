# Builds for 64-bit Windows with Debian's g++-mingw-w64-x86-64-posix:
#   cmake -S . -B build/win64 --toolchain cmake/toolchains/mingw-x86_64.cmake

set(CMAKE_SYSTEM_PROCESSOR x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
