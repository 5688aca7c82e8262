# How everything in this tree is compiled, and the two functions that its CMakeLists use:
#   ketra_compile_options(TARGET)                    our warnings, hardening and sanitizer
#   ketra_add_test(NAME SOURCES.. LABEL l LIBS ..)   a GoogleTest program, a ctest entry per case;
#                                                    PROCESSORS n: as many of the jobs of ctest -j

option(KETRA_TESTS "Build the tests" ON)
option(KETRA_BENCH "Build the benchmarks" OFF)
option(KETRA_COVERAGE "Count executed lines (gcov)" OFF)
option(KETRA_FUZZ "Build the fuzz targets (clang)" OFF)
option(KETRA_WERROR "A warning ends the build; OFF for compilers that nobody here has tried" ON)
set(KETRA_SANITIZE "" CACHE STRING "Sanitizers for -fsanitize=, e.g. address,undefined or thread")

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

# Everywhere alike: the parsed headers that tests share must be compiled as the tests are.
add_compile_options(-pthread)
find_package(Threads REQUIRED)

if(KETRA_SANITIZE)
    # Everything, GoogleTest included: ThreadSanitizer must see every synchronisation.
    add_compile_options("-fsanitize=${KETRA_SANITIZE}" -fno-omit-frame-pointer
                        -fno-sanitize-recover=all)
    add_link_options("-fsanitize=${KETRA_SANITIZE}")
endif()
if(KETRA_COVERAGE)
    add_compile_options(--coverage)
    add_link_options(--coverage)
endif()

if(KETRA_FUZZ)
    include(KetraFuzz)
endif()

file(RELATIVE_PATH KETRA_SOURCE_FROM_BUILD ${CMAKE_BINARY_DIR} ${PROJECT_SOURCE_DIR})

function(ketra_compile_options target)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
        -Wcast-align -Wformat=2 -Wnull-dereference
        $<$<BOOL:${KETRA_WERROR}>:-Werror>
        # __FILE__ is printed by the library and must name a place in this tree, not on a machine.
        # A compiler cache may hand the compiler relative names.
        "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/="
        "-ffile-prefix-map=${KETRA_SOURCE_FROM_BUILD}=")
endfunction()

# GoogleTest is built as shared libraries: tests that replace system calls at the linker must not
# replace GoogleTest's own (its death tests fork).
if(KETRA_TESTS)
    set(KETRA_GOOGLETEST_DIR /usr/src/googletest CACHE PATH "Sources of GoogleTest")
    function(ketra_add_googletest)
        set(BUILD_SHARED_LIBS ON)
        set(INSTALL_GTEST OFF)
        set(BUILD_GMOCK OFF)
        set(CMAKE_CXX_VISIBILITY_PRESET default)
        add_subdirectory(${KETRA_GOOGLETEST_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
    endfunction()
    ketra_add_googletest()
    include(GoogleTest)
endif()

# Test code is compiled without optimisation: that halves the time of a build and costs a test run
# nothing, since the code under test keeps the preset's own level.
function(ketra_test_options target)
    ketra_compile_options(${target})
    target_compile_options(${target} PRIVATE -O0 -g1)
endfunction()

# What every test includes is parsed once, not once a file.
if(KETRA_TESTS)
    file(WRITE ${CMAKE_BINARY_DIR}/test_headers.cpp "int main() {}\n")
    add_executable(ketra_test_headers EXCLUDE_FROM_ALL ${CMAKE_BINARY_DIR}/test_headers.cpp)
    ketra_test_options(ketra_test_headers)
    target_link_libraries(ketra_test_headers PRIVATE gtest Threads::Threads)
    target_precompile_headers(ketra_test_headers PRIVATE
        <gtest/gtest.h> <chrono> <functional> <map> <memory> <optional> <string> <vector>)
endif()

function(ketra_add_test name)
    cmake_parse_arguments(ARG "" "LABEL;TIMEOUT;PROCESSORS" "LIBS;ENVIRONMENT" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 60)
    endif()
    if(NOT ARG_PROCESSORS)
        set(ARG_PROCESSORS 1)
    endif()
    set(cost 0)
    if(ARG_LABEL STREQUAL integration)
        set(cost 10) # the long ones begin before the quick ones
    endif()
    add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
    ketra_test_options(${name})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} gtest gtest_main Threads::Threads)
    target_precompile_headers(${name} REUSE_FROM ketra_test_headers)
    gtest_discover_tests(${name} NO_PRETTY_VALUES
        TEST_PREFIX "${ARG_LABEL}/"
        DISCOVERY_TIMEOUT 60
        PROPERTIES LABELS "${ARG_LABEL}" TIMEOUT ${ARG_TIMEOUT} COST ${cost}
                   PROCESSORS ${ARG_PROCESSORS}
                   ENVIRONMENT "${ARG_ENVIRONMENT}")
endfunction()
