# Settings and functions that every room uses.
include_guard()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib/static")
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/../lib")

find_program(KESTREL_CCACHE ccache)
if(KESTREL_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${KESTREL_CCACHE}")
endif()

option(KESTREL_BUILD_TESTS "Build the tests" ON)
option(KESTREL_BUILD_FUZZERS "Build the fuzzers (clang), and every room with their instrumentation" OFF)
option(KESTREL_WERROR "Treat warnings as errors" OFF)
set(KESTREL_SANITIZE "" CACHE STRING "address (with undefined), thread, or empty")

find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)

# The warnings of all our own code.
add_library(kestrel_warnings INTERFACE)
target_compile_options(kestrel_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(kestrel_warnings INTERFACE -Wthread-safety -Werror=thread-safety)
endif()
if(KESTREL_WERROR)
    target_compile_options(kestrel_warnings INTERFACE -Werror)
endif()

if(KESTREL_SANITIZE STREQUAL "address")
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
elseif(KESTREL_SANITIZE STREQUAL "thread")
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_compile_definitions(BOOST_ASIO_DISABLE_FENCED_BLOCK)
    add_link_options(-fsanitize=thread)
endif()

if(KESTREL_BUILD_FUZZERS)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# Other people's headers are most of what a test's compilation reads: the sanitizers' builds, which clang makes, take
# them precompiled. The release build reads them in every source, so that one that forgets an include is seen.
set(KESTREL_PRECOMPILES_TESTS OFF)
if(KESTREL_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    set(KESTREL_PRECOMPILES_TESTS ON)
endif()

# What every target of ours has in common: the repository is the include root.
function(kestrel_target target)
    target_include_directories(${target} PRIVATE "${CMAKE_SOURCE_DIR}")
    target_link_libraries(${target} PRIVATE kestrel_warnings Threads::Threads)
endfunction()

# A room that waits more than it computes: to optimise it under a sanitizer takes longer than it saves.
function(kestrel_waits target)
    if(KESTREL_SANITIZE)
        target_compile_options(${target} PRIVATE -O0)
    endif()
endfunction()

# A room whose sources go into other targets: kestrel_room(NAME SOURCES ... LIBRARIES ... [WAITS]).
function(kestrel_room room)
    cmake_parse_arguments(PARSE_ARGV 1 ROOM "WAITS" "" "SOURCES;LIBRARIES")
    add_library(${room} OBJECT ${ROOM_SOURCES})
    kestrel_target(${room})
    if(ROOM_WAITS)
        kestrel_waits(${room})
    endif()
    target_link_libraries(${room} PUBLIC ${ROOM_LIBRARIES})
endfunction()

# Sources full of other people's templates, of Boost.Beast, CLI11 or the JSON library, whose speed matters to nobody.
function(kestrel_template_sources)
    if(CMAKE_BUILD_TYPE STREQUAL "Release")
        set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS -O1)
    endif()
endfunction()

# A test program: kestrel_test(NAME LABEL unit|contract|e2e|stress SOURCES ... LIBRARIES ... [TIMEOUT seconds]
# [COMPUTES] [ALONE filter]).
# Each of its cases becomes a test of ctest under its own name. What the filter names listens or looks for what any
# stall of the machine would cause too, or measures: nothing else runs beside it.
function(kestrel_test name)
    cmake_parse_arguments(PARSE_ARGV 1 TEST "COMPUTES" "LABEL;TIMEOUT;ALONE" "SOURCES;LIBRARIES")
    # Clang's thread sanitizer has an operator new of its own. Tests that count allocations have nothing to do with
    # threads, and run in every other build.
    if(KESTREL_SANITIZE STREQUAL "thread" AND "allocation_operators" IN_LIST TEST_LIBRARIES)
        return()
    endif()
    if(NOT TEST_TIMEOUT)
        set(TEST_TIMEOUT 60)
    endif()
    add_executable(${name} ${TEST_SOURCES})
    kestrel_target(${name})
    target_link_libraries(${name} PRIVATE ${TEST_LIBRARIES} test_main GTest::gtest GTest::gmock)
    # The tests' own code runs once: optimising it would cost more than it saves, unless it computes for long. What
    # it tests keeps its flags.
    if(NOT TEST_COMPUTES)
        if(CMAKE_BUILD_TYPE STREQUAL "Release" AND TEST_LABEL STREQUAL "e2e")
            target_compile_options(${name} PRIVATE -O1)
        elseif(KESTREL_SANITIZE OR CMAKE_BUILD_TYPE STREQUAL "Release")
            target_compile_options(${name} PRIVATE -O0)
        endif()
        if(KESTREL_PRECOMPILES_TESTS)
            target_precompile_headers(${name} REUSE_FROM test_headers)
            target_compile_options(${name} PRIVATE -pthread)  # of some libraries; the headers must have it too
        endif()
    endif()
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    set(discovery DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
        PROPERTIES LABELS ${TEST_LABEL} TIMEOUT ${TEST_TIMEOUT})
    if(TEST_ALONE STREQUAL "*")
        gtest_discover_tests(${name} ${discovery} RUN_SERIAL ON)
    elseif(TEST_ALONE)
        gtest_discover_tests(${name} TEST_FILTER "-${TEST_ALONE}" ${discovery})
        gtest_discover_tests(${name} TEST_FILTER "${TEST_ALONE}" TEST_LIST ${name}_ALONE ${discovery} RUN_SERIAL ON)
    else()
        gtest_discover_tests(${name} ${discovery})
    endif()
endfunction()
