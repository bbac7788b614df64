# What holds for every target: language, warnings, visibility, where things go.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/archive")

# RUNPATH and not RPATH, so that LD_LIBRARY_PATH can put another kernel first.
# The build tree is laid out as the installed one: bin/ and lib/ side by side.
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
set(CMAKE_INSTALL_LIBDIR lib)
set(CMAKE_INSTALL_RPATH "$ORIGIN/../lib")
add_link_options(-Wl,--enable-new-dtags)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_C_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()

if(VEXA_SANITIZE)
  add_compile_options(-fsanitize=${VEXA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VEXA_SANITIZE})
endif()

if(VEXA_BUILD_FUZZERS)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# Interface target: the warnings that our own code is held to.
add_library(vexa_warnings INTERFACE)
target_compile_options(vexa_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wcast-align -Wcast-qual -Wundef -Wswitch-enum
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wextra-semi -Wold-style-cast>)
# GCC 12 sees overlapping copies in std::string where there are none, when it optimises.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(vexa_warnings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
  # And members that are not initialised in std::optional and std::regex, where it adds its checks.
  if(VEXA_SANITIZE)
    target_compile_options(vexa_warnings INTERFACE -Wno-maybe-uninitialized)
  endif()
endif()
# Precompiled, GCC takes the system's headers for ours where it warns of what it has optimised.
if(VEXA_PRECOMPILED_HEADERS AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(vexa_warnings INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-Wno-array-bounds -Wno-stringop-overflow>)
endif()
target_include_directories(vexa_warnings INTERFACE "${CMAKE_SOURCE_DIR}")

# Parses what most sources include once for all targets with the same options, and HEADERS with it.
function(vexa_precompile_headers name)
  cmake_parse_arguments(ARG "" "" "OPTIONS;LINK;HEADERS" ${ARGN})
  file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/${name}.cpp" CONTENT "")
  add_library(${name} OBJECT "${CMAKE_BINARY_DIR}/${name}.cpp")
  target_link_libraries(${name} PRIVATE vexa_warnings ${ARG_LINK})
  target_compile_options(${name} PRIVATE ${ARG_OPTIONS})
  target_precompile_headers(${name} PRIVATE
    <algorithm> <array> <bit> <cassert> <cerrno> <chrono> <cstdint> <cstdio> <cstring> <filesystem>
    <functional> <map> <memory> <mutex> <optional> <span> <string> <string_view> <system_error>
    <unordered_map> <utility> <vector> ${ARG_HEADERS})
endfunction()

set(lightOptions $<$<CONFIG:Release>:-O1>)
# What takes time is in libraries; compiling assertions for speed takes longer than running them.
set(testOptions ${lightOptions})
# Undefined behaviour is looked for in what they test, and a third of the time of compiling them.
if(VEXA_SANITIZE)
  set(testOptions -O0 -fno-sanitize=undefined)
endif()
if(VEXA_PRECOMPILED_HEADERS)
  vexa_precompile_headers(vexa_headers)
  vexa_precompile_headers(vexa_headers_light OPTIONS ${lightOptions})
endif()

# vexa_library(NAME [LIGHT] SOURCES...): a static library of ours, usable in shared ones. One that is
# LIGHT leaves the work to others, is in no kernel, and not worth the time of compiling it for speed.
function(vexa_library name)
  cmake_parse_arguments(ARG "LIGHT" "" "" ${ARGN})
  add_library(${name} STATIC ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PUBLIC vexa_warnings)
  set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX)
  set(headers vexa_headers)
  if(ARG_LIGHT)
    target_compile_options(${name} PRIVATE ${lightOptions})
    set(headers vexa_headers_light)
  endif()
  if(VEXA_PRECOMPILED_HEADERS)
    target_precompile_headers(${name} REUSE_FROM ${headers})
  endif()
  string(FIND "${CMAKE_CURRENT_SOURCE_DIR}" "${CMAKE_SOURCE_DIR}/tests" in_tests)
  if(NOT in_tests EQUAL 0)
    set_target_properties(${name} PROPERTIES UNITY_BUILD ${VEXA_UNITY_BUILD} UNITY_BUILD_BATCH_SIZE 12)
  endif()
endfunction()

# vexa_test(NAME SOURCES... [SEPARATE SOURCES...] LINK LIBRARIES... [MANY] [SERVER PATTERN]): a
# GoogleTest program, one ctest entry a test. SEPARATE ones have names that others have, too, and are
# compiled by themselves. One of MANY short tests is three entries where it is sanitized, as starting
# it takes longer than they. Those of a pattern start a server of databases, and are one entry, too.
function(vexa_test name)
  cmake_parse_arguments(ARG "MANY" "SERVER" "SEPARATE;LINK" ${ARGN})
  add_executable(${name} ${ARG_UNPARSED_ARGUMENTS} ${ARG_SEPARATE})
  set_target_properties(${name} PROPERTIES UNITY_BUILD ${VEXA_UNITY_BUILD} UNITY_BUILD_BATCH_SIZE 6)
  set_source_files_properties(${ARG_SEPARATE} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  target_link_libraries(${name} PRIVATE vexa_warnings ${ARG_LINK} GTest::gmock GTest::gtest_main)
  target_compile_options(${name} PRIVATE ${testOptions})
  if(VEXA_PRECOMPILED_HEADERS)
    if(NOT TARGET vexa_headers_tests)
      vexa_precompile_headers(vexa_headers_tests LINK GTest::gmock GTest::gtest
        OPTIONS ${testOptions} ${CMAKE_CXX_COMPILE_OPTIONS_PIE}
        HEADERS <gmock/gmock.h> <gtest/gtest.h> <fstream> <random> <set> <sstream> <stdexcept> <thread>)
      set_target_properties(vexa_headers_tests PROPERTIES POSITION_INDEPENDENT_CODE OFF)
    endif()
    target_precompile_headers(${name} REUSE_FROM vexa_headers_tests)
  endif()
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
  if(ARG_MANY AND VEXA_SANITIZE)
    foreach(share 0 1 2)
      add_test(NAME ${name}.share_${share} COMMAND ${name})
      set_tests_properties(${name}.share_${share} PROPERTIES TIMEOUT 900 COST 100
        ENVIRONMENT "GTEST_TOTAL_SHARDS=3;GTEST_SHARD_INDEX=${share}")
    endforeach()
    return()
  endif()
  if(ARG_SERVER STREQUAL "*")
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 900 COST 100)  # first: it may be long
    return()
  endif()
  set(others "*")
  if(ARG_SERVER AND VEXA_SQL_ENGINE)
    set(others "-${ARG_SERVER}")
    add_test(NAME ${name}.on_a_server COMMAND ${name} "--gtest_filter=${ARG_SERVER}")
    set_tests_properties(${name}.on_a_server PROPERTIES TIMEOUT 900 COST 100 LABELS long)
  endif()
  gtest_discover_tests(${name} TEST_PREFIX "${name}." TEST_FILTER "${others}"
    PROPERTIES TIMEOUT 900 DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60)
endfunction()

# vexa_test_in_parts(NAME NODES [FILTER]): such a program once more, one entry, with databases of
# the embedded engine in parts of so many nodes.
function(vexa_test_in_parts name nodes)
  list(APPEND ARGN "*")
  list(GET ARGN 0 filter)
  add_test(NAME ${name}.in_parts COMMAND ${name} "--gtest_filter=${filter}")
  set_tests_properties(${name}.in_parts PROPERTIES
    ENVIRONMENT "ZDBS_PART_NODES=${nodes}" TIMEOUT 900 COST 100)
endfunction()

# vexa_test_on_shards(NAME NODES PATTERN): those of a pattern once more, one entry, with the rows of
# nodes on three servers, in parts of so many nodes; skipped where PL/Proxy is not installed. Makes
# four databases a test, so that it takes minutes.
function(vexa_test_on_shards name nodes pattern)
  if(VEXA_SQL_ENGINE)
    add_test(NAME ${name}.on_shards COMMAND ${name} "--gtest_filter=${pattern}")
    set_tests_properties(${name}.on_shards PROPERTIES
      ENVIRONMENT "VEXA_SHARDS=3;ZDBS_PART_NODES=${nodes}" TIMEOUT 900 COST 100 LABELS long)
  endif()
endfunction()

# vexa_fast_allocator(NAME): a program of many small objects allocates through jemalloc. Nothing
# calls it by name, so the linker has to be told to keep it. The sanitizers have their own.
function(vexa_fast_allocator name)
  if(NOT VEXA_SANITIZE)
    target_link_libraries(${name} PRIVATE -Wl,--no-as-needed PkgConfig::JEMALLOC -Wl,--as-needed)
  endif()
endfunction()
