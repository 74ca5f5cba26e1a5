# One library a folder of src/. A room names the rooms it stands on; what it does not name does
# not link, so an include against the direction of the house is found by the build.
function(vellmark_room name)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp)
  add_library(vellmark_${name} STATIC ${sources})
  target_include_directories(vellmark_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(vellmark_${name} PRIVATE vellmark_options PUBLIC ${ARGN})
endfunction()

# One test program a folder of tests/, its cases found by ctest.
function(vellmark_tests name)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(test_${name} ${sources})
  target_include_directories(test_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(test_${name} PRIVATE vellmark_options ${ARGN} GTest::gtest_main)
  # g++ 12 takes the strings of a table in braces for uninitialised when it optimises.
  target_compile_options(test_${name} PRIVATE -Wno-maybe-uninitialized)
  # What counts is what the tests call: that is built with all sanitizers. Their own code, which the
  # sanitizers more than double, only needs to fit it.
  target_compile_options(test_${name} PRIVATE $<$<CONFIG:Debug>:-O0 -fno-sanitize=undefined>)
  gtest_discover_tests(test_${name} TEST_PREFIX ${name}. DISCOVERY_TIMEOUT 60)
endfunction()
