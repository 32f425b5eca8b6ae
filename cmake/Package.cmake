# What `cmake --install` installs: the three libraries with their headers in the shape of the source tree, the program,
# and the CMake package FyrL3Intf with the targets FyrL3Intf::Kob, FyrL3Intf::FyrPlatform and FyrL3Intf::FyrL3Intf.

include(CMakePackageConfigHelpers)

install(TARGETS Kob FyrPlatform FyrL3Intf EXPORT FyrL3IntfTargets)
install(TARGETS fyrl3)
install(DIRECTORY Kob platform FyrL3Intf TYPE INCLUDE FILES_MATCHING PATTERN "*.h" PATTERN "*Published.h" EXCLUDE)

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/FyrL3Intf)
install(EXPORT FyrL3IntfTargets NAMESPACE FyrL3Intf:: DESTINATION ${packageDir})
configure_package_config_file(cmake/FyrL3IntfConfig.cmake.in ${PROJECT_BINARY_DIR}/FyrL3IntfConfig.cmake
  INSTALL_DESTINATION ${packageDir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/FyrL3IntfConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/FyrL3IntfConfig.cmake ${PROJECT_BINARY_DIR}/FyrL3IntfConfigVersion.cmake
  DESTINATION ${packageDir})
