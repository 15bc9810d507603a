# Headers that many files share, compiled once: about a fifth of a build from nothing. Files include
# what they use all the same, so that a build without this compiles.
#
# With GCC alone: the fuzzer's build and the linter read the files as they stand.
set(DRAVIN_PRECOMPILES OFF)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT DRAVIN_FUZZ)
    set(DRAVIN_PRECOMPILES ${DRAVIN_PRECOMPILE})
endif()
if(DRAVIN_PRECOMPILES AND CCACHE_PROGRAM)
    # So that the cache still finds what was compiled before.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        ${CCACHE_PROGRAM})
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fpch-preprocess>)
endif()

if(DRAVIN_PRECOMPILES)
    # GCC 12 forgets which headers are the system's when they come precompiled, and tells its false
    # alarms about their insides. A build without them (DRAVIN_PRECOMPILE=OFF) still heeds these.
    foreach(alarm array-bounds maybe-uninitialized restrict stringop-overflow stringop-overread)
        add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-${alarm}>)
    endforeach()
endif()

set(DRAVIN_SHARED_HEADERS
    <algorithm> <cmath> <cstdint> <functional> <map> <memory> <optional> <span> <string>
    <string_view> <unordered_map> <utility> <variant> <vector>)

# precompile_headers(target header…): the shared headers, and these, for this target alone.
function(precompile_headers target)
    if(DRAVIN_PRECOMPILES)
        target_precompile_headers(${target} PRIVATE ${DRAVIN_SHARED_HEADERS} ${ARGN})
    endif()
endfunction()

# The shared headers for a library, compiled once for all of them.
function(share_precompiled_headers target)
    if(NOT DRAVIN_PRECOMPILES)
        return()
    endif()
    if(NOT TARGET dravin_headers)
        find_package(fmt REQUIRED)
        file(WRITE ${PROJECT_BINARY_DIR}/headers.cpp "")
        add_library(dravin_headers STATIC ${PROJECT_BINARY_DIR}/headers.cpp)
        target_link_libraries(dravin_headers PRIVATE dravin_flags fmt::fmt)
        precompile_headers(dravin_headers <fmt/format.h>)
    endif()
    target_precompile_headers(${target} REUSE_FROM dravin_headers)
endfunction()

# The same for a test, with the headers of GoogleTest.
function(share_precompiled_test_headers target)
    if(NOT DRAVIN_PRECOMPILES)
        return()
    endif()
    if(NOT TARGET dravin_test_headers)
        file(WRITE ${PROJECT_BINARY_DIR}/test_headers.cpp "int main() {}\n")
        add_executable(dravin_test_headers ${PROJECT_BINARY_DIR}/test_headers.cpp)
        target_link_libraries(dravin_test_headers PRIVATE dravin_flags GTest::gmock)
        target_compile_options(dravin_test_headers PRIVATE ${DRAVIN_TEST_OPTIONS})
        precompile_headers(dravin_test_headers <gmock/gmock.h> <gtest/gtest.h>)
    endif()
    target_precompile_headers(${target} REUSE_FROM dravin_test_headers)
endfunction()
