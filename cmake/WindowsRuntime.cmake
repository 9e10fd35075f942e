# Windows finds a program's libraries beside it: all that is built goes to one folder, with copies of the compiler's own
# runtime libraries.
#
# The runtime is shared because exceptions are: what a host's observer throws is caught in db2, and with a runtime in each
# of the two neither would know the other's frames.

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_SHARED_LIBRARY_PREFIX "") # db2.dll, as Windows names libraries, not libdb2.dll

set(KQDB_RUNTIME_DLLS "") # what is installed beside ours
if(MINGW)
    set(unwinding dw2)
    if(CMAKE_SIZEOF_VOID_P EQUAL 8)
        set(unwinding seh)
    endif()
    foreach(name IN ITEMS libgcc_s_${unwinding}-1.dll libstdc++-6.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
            OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(NOT IS_ABSOLUTE "${path}")
            message(FATAL_ERROR "${CMAKE_CXX_COMPILER} has no ${name}; the flavour with POSIX threads has one")
        endif()
        get_filename_component(path ${path} REALPATH)
        list(APPEND KQDB_RUNTIME_DLLS ${path})
    endforeach()
    # GCC's runtime is under the GPL with the exception for programs that are compiled by it, winpthreads under the MIT and
    # BSD licences. Where Debian's packages put the texts:
    string(REPLACE _ - processor ${CMAKE_SYSTEM_PROCESSOR})
    set(KQDB_RUNTIME_LICENSES
        /usr/share/doc/gcc-mingw-w64-base/copyright /usr/share/doc/mingw-w64-${processor}-dev/copyright
        /usr/share/common-licenses/GPL-3
        CACHE STRING "The licences of the compiler's runtime libraries, which are installed with them")
    file(COPY ${KQDB_RUNTIME_DLLS} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
endif()
