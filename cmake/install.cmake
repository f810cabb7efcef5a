# What an installed tree holds: headers, library, a CMake package and a pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN *.h)
install(TARGETS orvz3 EXPORT orvz3
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orvz3)
install(EXPORT orvz3 NAMESPACE orvz3:: FILE orvz3Config.cmake DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/orvz3ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/orvz3ConfigVersion.cmake DESTINATION ${package_dir})

# The paths are told from the place of the file, so that an installed tree can be moved.
file(RELATIVE_PATH pc_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" pc_to_prefix ${pc_to_prefix})
configure_file(${PROJECT_SOURCE_DIR}/cmake/orvz3.pc.in ${PROJECT_BINARY_DIR}/orvz3.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvz3.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
