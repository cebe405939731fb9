# The Debian packages, built by CPack (scripts/package): grantwright holds the two programs,
# their manual pages and the shell completion; grantwright-dev the headers, the static
# libraries and the files find_package and pkg-config read. Dependencies are computed:
# dpkg-shlibdeps reads the programs' shared libraries, and grantwright-dev depends on the
# packages that hold the archives the library was linked with here.
set(GRANTWRIGHT_MAINTAINER "Grantwright developers <grantwright@tarnvale.com>" CACHE STRING
  "The packages' maintainer, as Debian writes it")
set(GRANTWRIGHT_DOC_DIR ${CMAKE_INSTALL_DATADIR}/doc)

# What Debian asks of every package: its copyright, a changelog compressed as gzip -9n, and
# for grantwright the reason for its one static binary. Installed only into the packages.
string(TIMESTAMP GRANTWRIGHT_CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(packaging/debian/changelog.in ${PROJECT_BINARY_DIR}/packaging/changelog @ONLY)
find_program(GZIP gzip REQUIRED)
add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/packaging/changelog.gz
  COMMAND ${GZIP} -9nf -k ${PROJECT_BINARY_DIR}/packaging/changelog
  DEPENDS ${PROJECT_BINARY_DIR}/packaging/changelog VERBATIM)
add_custom_target(debian_changelog ALL DEPENDS ${PROJECT_BINARY_DIR}/packaging/changelog.gz)
set(GRANTWRIGHT_DEBIAN_DOCS packaging/debian/copyright ${PROJECT_BINARY_DIR}/packaging/changelog.gz)
install(FILES ${GRANTWRIGHT_DEBIAN_DOCS} DESTINATION ${GRANTWRIGHT_DOC_DIR}/grantwright
  COMPONENT runtime EXCLUDE_FROM_ALL)
install(FILES ${GRANTWRIGHT_DEBIAN_DOCS} DESTINATION ${GRANTWRIGHT_DOC_DIR}/grantwright-dev
  COMPONENT development EXCLUDE_FROM_ALL)
install(FILES packaging/debian/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
  RENAME grantwright COMPONENT runtime EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME grantwright)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${GRANTWRIGHT_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES TRUE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME grantwright)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS bash-completion)
# `grantwright info` names kinds from this database; without it every kind is generic.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS shared-mime-info)
# The first line is the synopsis; CPack indents the others and marks the empty one.
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "restore a file's owner, group, mode and access control list
grantwright-helper applies a typed XML configuration to one file: its owner,
group and mode, or its POSIX access control list. A parent program starts it,
usually as root, and reads one line and an exit status back.

grantwright captures a file's rights into such a configuration, explains
what a configuration holds, keeps references to files and shows their kinds.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME grantwright-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "library for programs that restore files' access rights
The static library beneath grantwright-helper: permission records captured
from files and written as typed XML configurations, persistent file
references, the typed XML reader and the preference store. A parent program
builds against it with find_package(Grantwright) or pkg-config and starts the
installed helper.")
find_program(DPKG_QUERY dpkg-query)
if(DPKG_QUERY)
  set(dev_depends)
  foreach(archive IN LISTS GRANTWRIGHT_DEPENDENCY_ARCHIVES)
    execute_process(COMMAND ${DPKG_QUERY} -S ${archive} OUTPUT_VARIABLE owner
      RESULT_VARIABLE failed ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT failed AND owner MATCHES "^([a-z0-9.+-]+)(:[a-z0-9]+)?: ")
      list(APPEND dev_depends ${CMAKE_MATCH_1})
    endif()
  endforeach()
  list(REMOVE_DUPLICATES dev_depends)
  list(JOIN dev_depends ", " CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS)
endif()

include(CPack)
