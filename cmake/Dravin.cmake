# Flags of every target, and the two functions that keep the folders' CMakeLists short.

find_package(Threads REQUIRED)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()
include(Precompiled)

set(CMAKE_EXPORT_COMPILE_COMMANDS ON)  # for the linter

# The same scene gives the same bits in every build: no contraction, no fast-math. Position
# independent, because the objects end up in the plug-in module and the Python module too.
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
add_library(dravin_flags INTERFACE)
target_compile_features(dravin_flags INTERFACE cxx_std_20)
target_compile_options(dravin_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wno-unused-parameter -ffp-contract=off -fno-math-errno
    -fno-trapping-math)
target_include_directories(dravin_flags INTERFACE ${PROJECT_SOURCE_DIR})
target_link_libraries(dravin_flags INTERFACE Threads::Threads)
if(DRAVIN_STRICT)
    target_compile_options(dravin_flags INTERFACE -Werror)
endif()
if(DRAVIN_SANITIZE)
    target_compile_options(dravin_flags INTERFACE -fsanitize=${DRAVIN_SANITIZE}
        -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(dravin_flags INTERFACE -fsanitize=${DRAVIN_SANITIZE})
endif()
if(DRAVIN_FUZZ)
    # Coverage for the fuzzer; a number that does not fit its integer is a finding too.
    target_compile_options(dravin_flags INTERFACE -fsanitize=fuzzer-no-link,float-cast-overflow
        -fno-sanitize-recover=all)
endif()

# Programs that read files from anywhere: released ones are hardened (tests/apps/check_hardening.py looks).
if(NOT DRAVIN_SANITIZE)
    target_compile_options(dravin_flags INTERFACE
        $<$<CONFIG:Release>:-fstack-protector-strong -D_FORTIFY_SOURCE=2>)
    target_link_options(dravin_flags INTERFACE
        $<$<CONFIG:Release>:-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack>
        $<$<AND:$<CONFIG:Release>,$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>>:-pie>)
endif()

# dravin_library(name SOURCES a.cpp … PUBLIC lib … PRIVATE lib … HEADERS <h> …): one folder's static
# library. HEADERS: heavy ones that most of its files include, to be compiled once.
function(dravin_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE;HEADERS" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_link_libraries(${name} PUBLIC dravin_flags ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
    if(ARG_HEADERS)
        precompile_headers(${name} ${ARG_HEADERS})
    else()
        share_precompiled_headers(${name})
    endif()
endfunction()

# Tests run once a build: what the optimiser takes is more than what it gives. The code under test has
# the flags of its own target.
set(DRAVIN_TEST_OPTIONS $<$<CONFIG:Release>:-O1>)

# together(target file…): compiles several files of a target as one, as most of what compilers do for
# them is the same; but not these files, whose names within a file are those of others. A build
# without this (DRAVIN_UNITY=OFF) compiles each by itself, and after a change less.
function(together target)
    if(NOT DRAVIN_UNITY)
        return()
    endif()
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 5)
    # One of the compiled files includes the others, whose own names then look like a header's.
    target_compile_options(${target} PRIVATE -Wno-subobject-linkage)
    if(ARGN)
        set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
    endif()
endfunction()

# dravin_test(name SOURCES a_test.cpp … LIBS lib … HEADERS <h> … ALONE a_test.cpp …): one GoogleTest program, one CTest
# entry, its files compiled together but for those ALONE. A test that is skipped fails it: what a test needs is installed with the rest, so nothing may
# stand aside. HEADERS: heavy ones, as above; tests of Qt need some, as Qt has code built otherwise.
function(dravin_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;HEADERS;ALONE" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    together(${name} ${ARG_ALONE})
    target_link_libraries(${name} PRIVATE dravin_flags ${ARG_LIBS} GTest::gmock GTest::gtest_main)
    target_compile_options(${name} PRIVATE ${DRAVIN_TEST_OPTIONS})
    if(ARG_HEADERS)
        precompile_headers(${name} <gmock/gmock.h> <gtest/gtest.h> ${ARG_HEADERS})
    else()
        share_precompiled_test_headers(${name})
    endif()
    target_compile_definitions(${name} PRIVATE DRAVIN_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
        DRAVIN_BINARY_DIR="${PROJECT_BINARY_DIR}")
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 600 FAIL_REGULAR_EXPRESSION "\\[  SKIPPED \\]"
        ENVIRONMENT "DRAVIN_HOME=${PROJECT_SOURCE_DIR}/data;XDG_CONFIG_HOME=${PROJECT_BINARY_DIR}/no_config")
endfunction()
