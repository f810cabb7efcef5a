# What an installed tree holds, in two components: `runtime` is what programs need, `development` what building them needs.
include(CMakePackageConfigHelpers)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
  FILES_MATCHING PATTERN *.h)
install(TARGETS orvz3 EXPORT orvz3
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(FILES $<TARGET_FILE:orvz3_static> DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orvz3)
install(EXPORT orvz3 NAMESPACE orvz3:: FILE orvz3Targets.cmake DESTINATION ${package_dir} COMPONENT development)
set(static_needs "")
set(pc_private_libs "")
if(NOT WIN32)
  set(static_needs m)
  set(pc_private_libs -lm)
endif()
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/orvz3Config.cmake.in ${PROJECT_BINARY_DIR}/orvz3Config.cmake
  INSTALL_DESTINATION ${package_dir} PATH_VARS CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR)
install(FILES ${PROJECT_BINARY_DIR}/orvz3Config.cmake DESTINATION ${package_dir} COMPONENT development)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/orvz3ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/orvz3ConfigVersion.cmake DESTINATION ${package_dir} COMPONENT development)

# The paths are told from the place of the file, so that an installed tree can be moved.
file(RELATIVE_PATH pc_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" pc_to_prefix ${pc_to_prefix})
configure_file(${PROJECT_SOURCE_DIR}/cmake/orvz3.pc.in ${PROJECT_BINARY_DIR}/orvz3.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvz3.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
