find_package(GTest REQUIRED)

# The suites' own sources take light optimisation: they spend their time
# waiting on sockets, threads and timers, and -O2 of their test bodies costs a
# quarter of their build. The library they test keeps the build type's options.
set(DEVSEARCH_TEST_OPTIONS "-O1" CACHE STRING "Compile options of the test suites' own sources")
if(CMAKE_BUILD_TYPE STREQUAL "Debug")
  set(DEVSEARCH_TEST_OPTIONS "")
endif()

# The test framework's headers, precompiled once and shared by every suite
# whose code is not position independent (the Qt ones are: they build their own
# way). A precompiled header only serves code compiled with the same options.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/tests/TestPch.cpp CONTENT "")
add_library(ds_test_pch OBJECT ${PROJECT_BINARY_DIR}/tests/TestPch.cpp)
target_link_libraries(ds_test_pch PRIVATE GTest::gmock GTest::gtest)
target_compile_options(ds_test_pch PRIVATE ${DEVSEARCH_TEST_OPTIONS})
target_precompile_headers(ds_test_pch PRIVATE <gmock/gmock.h> <gtest/gtest.h> <string> <vector>)

# devsearch_add_test(NAME SOURCES ... [LIBS ...] [SERIAL])
# One executable and one CTest entry per subsystem area, so that a failure names its area.
# SERIAL marks suites that build network namespaces; they do not run beside each other.
function(devsearch_add_test name)
  cmake_parse_arguments(T "SERIAL" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE ${T_LIBS} GTest::gmock GTest::gtest GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_compile_options(${name} PRIVATE ${DEVSEARCH_TEST_OPTIONS})
  # Qt makes the code of whatever links it position independent.
  if(NOT T_LIBS MATCHES "(^|;)(Qt[0-9]*::|ds_search;|ds_search$|devsearch;|devsearch$)")
    target_precompile_headers(${name} REUSE_FROM ds_test_pch)
  endif()
  add_test(NAME ${name} COMMAND ${name})
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 300)
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${T_TIMEOUT})
  if(T_SERIAL)
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK netns)
  endif()
endfunction()
