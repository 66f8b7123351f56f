# Options and functions for the library's own targets. Nothing here affects a user's target.

if(NOT CMAKE_CXX_STANDARD)
  set(CMAKE_CXX_STANDARD 20)
endif()
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

if(PROJECT_IS_TOP_LEVEL)
  if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release)
  endif()
  find_program(ZERLITHCORE_CCACHE ccache)
  mark_as_advanced(ZERLITHCORE_CCACHE)
  if(ZERLITHCORE_CCACHE AND ZERLITHCORE_PRECOMPILE)
    set(CMAKE_CXX_COMPILER_LAUNCHER
      "${CMAKE_COMMAND}" -E env CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime "${ZERLITHCORE_CCACHE}")
  elseif(ZERLITHCORE_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${ZERLITHCORE_CCACHE}")
  endif()
endif()

# GCC 12 warns without cause about the inside of std::string in optimised code.
# Clang warns about deprecated functions that libstdc++ itself calls, for example in std::stable_sort.
add_library(zerlithcore_warnings INTERFACE)
target_compile_options(zerlithcore_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor
  "$<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>,$<CONFIG:Release>>:-Wno-array-bounds;-Wno-restrict;-Wno-stringop-overflow>"
  $<$<CXX_COMPILER_ID:Clang>:-Wno-deprecated-declarations>
  $<$<BOOL:${ZERLITHCORE_WERROR}>:-Werror>)

add_library(zerlithcore_sanitize INTERFACE)
if(ZERLITHCORE_SANITIZE)
  target_compile_options(zerlithcore_sanitize INTERFACE
    -fsanitize=${ZERLITHCORE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  target_link_options(zerlithcore_sanitize INTERFACE -fsanitize=${ZERLITHCORE_SANITIZE})
endif()

# The headers that most sources include. A build without them shows which source forgets to include what it uses.
set(ZERLITHCORE_STANDARD_HEADERS
  <algorithm> <array> <atomic> <cstdint> <functional> <map> <memory> <new> <optional> <ostream> <span> <string>
  <string_view> <unordered_map> <utility> <vector>)

# zerlithcore_precompile(TARGET PRIVATE HEADER... | REUSE_FROM OTHER): precompiles headers for a target, where the build
# asks for it.
function(zerlithcore_precompile target)
  if(ZERLITHCORE_PRECOMPILE)
    target_precompile_headers(${target} ${ARGN})
    # Without this, GCC hides the included headers from a compiler cache.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
  endif()
endfunction()

# zerlithcore_room(SOURCES ... HEADERS ...): adds one folder of the library. Headers named here are installed.
function(zerlithcore_room)
  cmake_parse_arguments(ROOM "" "" "SOURCES;HEADERS" ${ARGN})
  list(TRANSFORM ROOM_SOURCES PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
  list(TRANSFORM ROOM_HEADERS PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
  target_sources(zerlithcore_objects PRIVATE ${ROOM_SOURCES})
  target_sources(ZerlithCore PUBLIC FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${ROOM_HEADERS})
endfunction()

# zerlithcore_test(NAME SOURCES ... [LIBRARIES ...] [DEFINITIONS ...] [OBJECTS]): one test program of a folder.
# OBJECTS links the library's object files instead of the shared library, so that tests can call hidden functions.
function(zerlithcore_test name)
  cmake_parse_arguments(TEST "OBJECTS" "" "SOURCES;LIBRARIES;DEFINITIONS" ${ARGN})
  add_executable(test_${name} ${TEST_SOURCES})
  target_include_directories(test_${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  target_compile_definitions(test_${name} PRIVATE ${TEST_DEFINITIONS})
  if(TEST_OBJECTS)
    target_link_libraries(test_${name} PRIVATE zerlithcore_objects)
  else()
    target_link_libraries(test_${name} PRIVATE ZerlithCore::ZerlithCore)
  endif()
  target_link_libraries(test_${name} PRIVATE
    ${TEST_LIBRARIES} GTest::gtest_main zerlithcore_warnings zerlithcore_sanitize)
  # All test programs share what the first one precompiles.
  get_property(owner GLOBAL PROPERTY ZERLITHCORE_TEST_HEADERS)
  if(owner)
    zerlithcore_precompile(test_${name} REUSE_FROM ${owner})
  else()
    zerlithcore_precompile(test_${name} PRIVATE ${ZERLITHCORE_STANDARD_HEADERS} <gtest/gtest.h>)
    set_property(GLOBAL PROPERTY ZERLITHCORE_TEST_HEADERS test_${name})
  endif()
  # The library's own fault handlers take precedence over the sanitizer's, and threads get an alternate stack from us.
  set(plain "handle_segv=0:handle_sigbus=0:handle_sigfpe=0:handle_sigill=0:use_sigaltstack=0")
  if(ZERLITHCORE_SANITIZE MATCHES thread)
    set(environment "TSAN_OPTIONS=${plain}:second_deadlock_stack=1")
  else()
    set(environment "ASAN_OPTIONS=${plain}:detect_stack_use_after_return=0")
  endif()
  # The whole program is one entry, for quick runs of a room. Each case is an entry, too, with the room before its name.
  add_test(NAME ${name} COMMAND test_${name})
  set_tests_properties(${name} PROPERTIES LABELS suite TIMEOUT 300 ENVIRONMENT "${environment}")
  gtest_discover_tests(test_${name} TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60
    PROPERTIES LABELS case TIMEOUT 120 ENVIRONMENT "${environment}")
endfunction()
