# cmake --install: headers, the static libraries and a package config, so that
# an outside project does find_package(qelcore CONFIG REQUIRED) and links
# qelcore::qelcore.
include(CMakePackageConfigHelpers)

install(TARGETS qelcore qelsys qelmetrics
  EXPORT qelcoreTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY
    ${PROJECT_SOURCE_DIR}/core/public/
    ${PROJECT_SOURCE_DIR}/base/qelsys/public/
    ${PROJECT_SOURCE_DIR}/base/qelmetrics/public/
    ${QEL_GENERATED_DIR}/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h" PATTERN "*.inc" PATTERN "*.def")

set(QEL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qelcore)
install(EXPORT qelcoreTargets NAMESPACE qelcore:: DESTINATION ${QEL_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/qelcoreConfig.cmake.in
  ${PROJECT_BINARY_DIR}/qelcoreConfig.cmake INSTALL_DESTINATION ${QEL_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qelcoreConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qelcoreConfig.cmake
  ${PROJECT_BINARY_DIR}/qelcoreConfigVersion.cmake DESTINATION ${QEL_CMAKE_DIR})
