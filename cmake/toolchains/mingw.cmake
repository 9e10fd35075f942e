# What the two toolchain files for Windows share; they set CMAKE_SYSTEM_PROCESSOR and include this.

set(CMAKE_SYSTEM_NAME Windows)
set(mingw_triple ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32)

# The flavour with POSIX threads by its full name: the other one lacks parts of C++20's library, and which of the two
# bears the short name is the machine's choice.
set(CMAKE_C_COMPILER ${mingw_triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${mingw_triple}-g++-posix)
set(CMAKE_RC_COMPILER ${mingw_triple}-windres)

list(APPEND CMAKE_FIND_ROOT_PATH /usr/${mingw_triple}) # behind those that are given
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER) # programs run on the machine that builds
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
