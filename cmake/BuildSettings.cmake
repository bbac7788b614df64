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
target_include_directories(vexa_warnings INTERFACE "${CMAKE_SOURCE_DIR}")

# vexa_library(NAME SOURCES...): a static library of ours, usable in shared ones.
function(vexa_library name)
  add_library(${name} STATIC ${ARGN})
  target_link_libraries(${name} PUBLIC vexa_warnings)
  set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX)
  string(FIND "${CMAKE_CURRENT_SOURCE_DIR}" "${CMAKE_SOURCE_DIR}/tests" in_tests)
  if(VEXA_UNITY_BUILD AND NOT in_tests EQUAL 0)
    set_target_properties(${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 12)
  endif()
endfunction()

# vexa_test(NAME SOURCES... LINK LIBRARIES... [MANY]): a GoogleTest program, one ctest entry a test.
# One of MANY short tests is one entry where it is sanitized, as starting it takes longer than they.
function(vexa_test name)
  cmake_parse_arguments(ARG "MANY" "" "LINK" ${ARGN})
  add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE vexa_warnings ${ARG_LINK} GTest::gmock GTest::gtest_main)
  # What takes time is in libraries; compiling assertions for speed takes longer than running them.
  target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O1>)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
  if(ARG_MANY AND VEXA_SANITIZE)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 900 COST 100)  # first: it may be long
    return()
  endif()
  gtest_discover_tests(${name} TEST_PREFIX "${name}." PROPERTIES TIMEOUT 900
    DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60)
endfunction()

# vexa_fast_allocator(NAME): a program of many small objects allocates through jemalloc. Nothing
# calls it by name, so the linker has to be told to keep it. The sanitizers have their own.
function(vexa_fast_allocator name)
  if(NOT VEXA_SANITIZE)
    target_link_libraries(${name} PRIVATE -Wl,--no-as-needed PkgConfig::JEMALLOC -Wl,--as-needed)
  endif()
endfunction()
