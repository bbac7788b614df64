# Debian packages: `cpack -G DEB` in the build directory. vexa has the programs, libzdbs the library,
# libzdbs-dev what other programs are built with.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vexa)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_CONTACT "maintainers <maintainers@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL programs library development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_PROGRAMS_PACKAGE_NAME vexa)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SECTION database)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_DEPENDS "libzdbs (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_PROGRAMS_DESCRIPTION
  "XPath query shell for databases of XML documents
 vexa answers XPath requests, zdbs administers the databases.")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libzdbs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
  "kernel for databases of XML documents
 The shared library that keeps documents and answers requests.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzdbs-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libzdbs (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
  "kernel for databases of XML documents: development files
 Header, pkg-config and CMake files, and examples in C.")

foreach(package IN ITEMS programs:vexa library:libzdbs development:libzdbs-dev)
  string(REPLACE ":" ";" pair "${package}")
  list(GET pair 0 component)
  list(GET pair 1 name)
  install(FILES "${CMAKE_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${name}"
    RENAME copyright COMPONENT ${component})
endforeach()
include(CPack)
