# Debian packages: `cpack -G DEB` in the build directory. vexa has the programs, libzdbs the library,
# libzdbs-dev what other programs are built with, python3-vexa the Python module where it is built.
set(VEXA_PACKAGE_CONTACT "Vexa packages <packages@vexa.example>" CACHE STRING
  "Who answers for the Debian packages: name and address of whoever hands them on")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vexa)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_CONTACT "${VEXA_PACKAGE_CONTACT}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(theLibrary "libzdbs (= ${PROJECT_VERSION})")
configure_file(cmake/package/changelog.in "${CMAKE_BINARY_DIR}/package/changelog" @ONLY)

# vexa_package(COMPONENT NAME SECTION SUMMARY TEXT DEPENDS...): one package of what a component
# installs. Overrides of lintian are in cmake/package/lintian, each with its reason.
function(vexa_package component name section summary text)
  string(TOUPPER ${component} COMPONENT)
  list(JOIN ARGN ", " depends)
  set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
  set(CPACK_COMPONENT_${COMPONENT}_DESCRIPTION "${summary}\n ${text}" PARENT_SCOPE)
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} PARENT_SCOPE)
  set(documentation "${CMAKE_INSTALL_DATADIR}/doc/${name}")
  install(FILES "${CMAKE_SOURCE_DIR}/LICENSE" DESTINATION "${documentation}" RENAME copyright
    COMPONENT ${component})
  vexa_install_packed(${component} "${CMAKE_BINARY_DIR}/package/changelog" "${documentation}")
  set(overrides "${CMAKE_SOURCE_DIR}/cmake/package/lintian/${name}")
  if(EXISTS "${overrides}")
    install(FILES "${overrides}" DESTINATION "${CMAKE_INSTALL_DATADIR}/lintian/overrides"
      COMPONENT ${component})
  endif()
endfunction()

set(CPACK_COMPONENTS_ALL)
vexa_package(programs vexa database "XPath query shell for databases of XML documents"
  "vexa answers XPath requests,\n zdbs loads documents and administers the databases." "${theLibrary}")
vexa_package(library libzdbs libs "kernel for databases of XML documents"
  "The shared library that keeps documents and answers requests.")
# TLS of a server, and databases on one, are loaded when they are asked for.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_RECOMMENDS "libgnutls30, libpq5")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${CMAKE_SOURCE_DIR}/cmake/package/triggers")
vexa_package(development libzdbs-dev libdevel "kernel for databases of XML documents: development files"
  "Header, pkg-config and CMake files, manual page, and examples in C." "${theLibrary}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
if(TARGET vexa_python)
  math(EXPR next "${Python3_VERSION_MINOR} + 1")
  vexa_package(python python3-vexa python "requests to databases of XML documents from Python"
    "The module vexa: XPath requests, and iterators over the nodes that they find."
    "python3 (>= 3.${Python3_VERSION_MINOR})" "python3 (<< 3.${next})")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS python3-lxml)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
    "${CMAKE_SOURCE_DIR}/cmake/package/python/postinst"
    "${CMAKE_SOURCE_DIR}/cmake/package/python/prerm")
endif()
include(CPack)
