# Installing and exporting: find_package(cairn) and pkg-config.

include(CMakePackageConfigHelpers)

set(_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/cairn")

install(TARGETS cairn cairn_media cairn_base cairn_options
    EXPORT cairn
    ARCHIVE
    FILE_SET HEADERS)
install(EXPORT cairn NAMESPACE cairn:: FILE cairn-targets.cmake DESTINATION "${_package_dir}")

configure_package_config_file(cmake/cairn-config.cmake.in "${PROJECT_BINARY_DIR}/cairn-config.cmake"
    INSTALL_DESTINATION "${_package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/cairn-config-version.cmake" COMPATIBILITY SameMinorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/cairn-config.cmake"
    "${PROJECT_BINARY_DIR}/cairn-config-version.cmake"
    cmake/Findtriangle.cmake
    cmake/Findpolyclipping.cmake
    DESTINATION "${_package_dir}")

# The file finds its prefix from where it lies: an install may go to another place than was configured.
file(RELATIVE_PATH _prefix_from_pc "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
configure_file(cmake/cairn.pc.in "${PROJECT_BINARY_DIR}/cairn.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/cairn.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

install(FILES LICENSE README.md DESTINATION "${CMAKE_INSTALL_DOCDIR}")
