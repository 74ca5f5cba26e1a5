set(common_headers
  <algorithm> <array> <cstdint> <cstring> <filesystem> <functional> <map> <memory> <optional> <set>
  <span> <string> <string_view> <unordered_map> <unordered_set> <utility> <vector>)

# The first target of its kind reads the headers, the others take what it made.
function(vellmark_precompile target first)
  if(NOT VELLMARK_PRECOMPILED_HEADERS)
    return()
  endif()
  target_compile_options(${target} PRIVATE -fpch-preprocess)
  if(target STREQUAL first)
    target_precompile_headers(${target} PRIVATE ${common_headers} ${ARGN})
  else()
    target_precompile_headers(${target} REUSE_FROM ${first})
  endif()
endfunction()

# One library a folder of src/, with the folders in it.
function(vellmark_library name)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp)
  add_library(vellmark_${name} STATIC ${sources})
  target_include_directories(vellmark_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(vellmark_${name} PRIVATE vellmark_options PUBLIC ${ARGN})
endfunction()

# A room without a window. It names the rooms it stands on.
function(vellmark_room name)
  vellmark_library(${name} ${ARGN})
  vellmark_precompile(vellmark_${name} vellmark_support <fmt/core.h>)
endfunction()

# One test program a folder of tests/, its cases found by ctest. The benches of a room before it
# that it works at as well can be named as files.
function(vellmark_tests name)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp)
  set(rooms ${ARGN})
  list(FILTER rooms EXCLUDE REGEX "[.]cpp$")
  set(benches ${ARGN})
  list(FILTER benches INCLUDE REGEX "[.]cpp$")
  list(APPEND sources ${benches})
  add_executable(test_${name} ${sources})
  target_include_directories(test_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_compile_definitions(test_${name} PRIVATE VELLMARK_SOURCE_FOLDER="${PROJECT_SOURCE_DIR}")
  target_link_libraries(test_${name} PRIVATE vellmark_options ${rooms} GTest::gtest_main)
  # g++ 12 takes the strings of a table in braces for uninitialised when it optimises.
  target_compile_options(test_${name} PRIVATE -Wno-maybe-uninitialized)
  # What counts is what the tests call: that is built with all sanitizers. Their own code, which the
  # sanitizers more than double, only needs to fit it.
  target_compile_options(test_${name} PRIVATE $<$<CONFIG:Debug>:-O0 -fno-sanitize=undefined>)
  # The toolkit's definitions keep its tests from the headers of the others.
  if(NOT "Qt6::Test" IN_LIST ARGN)
    vellmark_precompile(test_${name} test_support <gtest/gtest.h>)
  endif()
  gtest_discover_tests(test_${name} TEST_PREFIX ${name}. DISCOVERY_TIMEOUT 60)
endfunction()
