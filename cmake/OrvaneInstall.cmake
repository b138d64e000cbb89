# `cmake --install`: the library with its headers and a package for find_package(orvane); hosts install themselves.
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orvane)
install(TARGETS orvane EXPORT orvaneTargets FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvane)
install(EXPORT orvaneTargets NAMESPACE orvane:: DESTINATION ${package_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/orvaneConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/orvaneConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/orvaneConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/orvaneConfig.cmake ${PROJECT_BINARY_DIR}/orvaneConfigVersion.cmake
        DESTINATION ${package_dir})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/resources DESTINATION ${CMAKE_INSTALL_DATADIR}/orvane)
