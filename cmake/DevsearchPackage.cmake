# What an application builds against once the library is installed: the CMake
# package (find_package(devsearch), target devsearch::devsearch) and the
# pkg-config file devsearch.pc. Both are relocatable: they find the headers
# and the library relative to where they are installed.
include(CMakePackageConfigHelpers)

set(DEVSEARCH_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/devsearch)
install(EXPORT devsearchTargets NAMESPACE devsearch:: DESTINATION ${DEVSEARCH_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/devsearchConfig.cmake.in
  ${PROJECT_BINARY_DIR}/devsearchConfig.cmake INSTALL_DESTINATION ${DEVSEARCH_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/devsearchConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/devsearchConfig.cmake ${PROJECT_BINARY_DIR}/devsearchConfigVersion.cmake
  DESTINATION ${DEVSEARCH_CMAKE_DIR})

# The prefix as seen from <libdir>/pkgconfig.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  message(FATAL_ERROR "devsearch.pc wants a relative CMAKE_INSTALL_LIBDIR, not ${CMAKE_INSTALL_LIBDIR}")
endif()
file(RELATIVE_PATH DEVSEARCH_PC_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" DEVSEARCH_PC_PREFIX "${DEVSEARCH_PC_PREFIX}")
# Qt 5 is built to be used from position-independent code; its CMake package
# says so, its pkg-config file does not.
set(DEVSEARCH_PC_CFLAGS "")
if(DEVSEARCH_QT_MAJOR EQUAL 5)
  set(DEVSEARCH_PC_CFLAGS " -fPIC")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/devsearch.pc.in ${PROJECT_BINARY_DIR}/devsearch.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/devsearch.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
