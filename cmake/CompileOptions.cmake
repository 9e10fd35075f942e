# How this project's own code is compiled, as interface targets. They stand inside BUILD_INTERFACE wherever they are
# linked, so none of it reaches an installed package.

if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    set(KQDB_GNU_LIKE TRUE)
endif()

# Our strictness, never the host's: always linked PRIVATE.
add_library(db2_warnings INTERFACE)
if(KQDB_GNU_LIKE)
    target_compile_options(db2_warnings INTERFACE
        -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Wsuggest-override
        $<$<BOOL:${KQDB_WARNINGS_AS_ERRORS}>:-Werror>)
elseif(MSVC)
    target_compile_options(db2_warnings INTERFACE /W4 $<$<BOOL:${KQDB_WARNINGS_AS_ERRORS}>:/WX>)
endif()

# The x87 unit computes with more bits than a float or double has, so 32-bit results would differ from 64-bit ones.
add_library(db2_arithmetic INTERFACE)
if(KQDB_GNU_LIKE AND CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|x86|i[3-6]86)$")
    target_compile_options(db2_arithmetic INTERFACE -msse2 -mfpmath=sse)
endif()

# Linked PUBLIC, because a program that loads a sanitized library needs the sanitizers' runtime.
add_library(db2_sanitizers INTERFACE)
if(KQDB_SANITIZE)
    set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all)
    target_compile_options(db2_sanitizers INTERFACE ${sanitizers} -fno-omit-frame-pointer)
    target_link_options(db2_sanitizers INTERFACE ${sanitizers})
endif()
if(KQDB_BUILD_FUZZERS)
    if(NOT KQDB_SANITIZE OR NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        message(FATAL_ERROR "KQDB_BUILD_FUZZERS takes clang and KQDB_SANITIZE: alone a fuzzer would see crashes only")
    endif()
    target_compile_options(db2_sanitizers INTERFACE -fsanitize=fuzzer-no-link) # what a fuzzer steers by
endif()

# The compiler takes it that `new` aligns to 16 bytes, but the heap of 32-bit Windows aligns to 8: objects with 16-byte
# values in them are to use the `new` that is told the alignment. Linked PUBLIC and installed: hosts make such objects too.
set(KQDB_HOST_OPTIONS "")
if(MINGW AND CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(KQDB_HOST_OPTIONS $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-faligned-new=8>)
endif()

# db2_compile_options(TARGET): for every library and program of ours. Standard C++20, and what stands above.
function(db2_compile_options target)
    target_compile_features(${target} PUBLIC cxx_std_20)
    target_compile_options(${target} PUBLIC ${KQDB_HOST_OPTIONS})
    set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
    target_link_libraries(${target}
        PUBLIC  $<BUILD_INTERFACE:db2_sanitizers>
        PRIVATE $<BUILD_INTERFACE:db2_warnings> $<BUILD_INTERFACE:db2_arithmetic>)
endfunction()
