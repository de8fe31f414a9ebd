find_package(GTest REQUIRED)

# devsearch_add_test(NAME SOURCES ... [LIBS ...] [SERIAL])
# One executable and one CTest entry per subsystem area, so that a failure names its area.
# SERIAL marks suites that build network namespaces; they do not run beside each other.
function(devsearch_add_test name)
  cmake_parse_arguments(T "SERIAL" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE ${T_LIBS} GTest::gmock GTest::gtest GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  add_test(NAME ${name} COMMAND ${name})
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 300)
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${T_TIMEOUT})
  if(T_SERIAL)
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK netns)
  endif()
endfunction()
