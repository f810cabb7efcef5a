# What `cpack` makes in a build folder: two Debian packages on Linux, a zip for Windows.
set(CPACK_PACKAGE_NAME orvz3)
set(CPACK_PACKAGE_VENDOR "the orvz3 developers")
set(CPACK_PACKAGE_CONTACT "the orvz3 developers <orvz3@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Image operations on images described by the application")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES TRUE)
set(CPACK_COMPONENTS_ALL runtime development)

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(system win64)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(system win32)
  endif()
  set(CPACK_PACKAGE_FILE_NAME orvz3-${PROJECT_VERSION}-${system})
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/README.md DESTINATION . COMPONENT runtime)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "")
  if(is_x86 AND CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE i386)
  endif()

  set(runtime_package liborvz3-${PROJECT_VERSION_MAJOR})
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
  # Programs that are packaged against the library learn from this which package they need, and the loader's cache is renewed.
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
  set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "The shared library.")

  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liborvz3-dev)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (= ${PROJECT_VERSION}), libc6-dev")
  set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "Headers, the static library, a CMake package and a pkg-config file.")

  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE RENAME copyright
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${runtime_package} COMPONENT runtime)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE RENAME copyright
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/liborvz3-dev COMPONENT development)
endif()
include(CPack)
