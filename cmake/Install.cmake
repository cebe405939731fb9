# What `cmake --install` puts where (GNUInstallDirs; DESTDIR works as usual):
#   bin/grantwright                              the user's command      component runtime
#   libexec/grantwright/grantwright-helper       started by programs     runtime
#   share/man/man1, man8                         the manual pages        runtime (doc/)
#   share/bash-completion/completions/grantwright                        runtime
#   include/grantwright/<floor>/*.h              the library's headers   development
#   lib/libgrantwright_core.a, ..._platform.a    the library             development
#   lib/cmake/Grantwright/                       find_package(Grantwright): Grantwright::core,
#                                                Grantwright::platform, Grantwright::helper
#   lib/pkgconfig/grantwright.pc                 the same for pkg-config development
include(CMakePackageConfigHelpers)

set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(GRANTWRIGHT_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Grantwright)
set(GRANTWRIGHT_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/grantwright)

install(TARGETS grantwright RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
# The desktop's services, which `grantwright` loads from <libdir>/grantwright (its run path)
# for the commands that need them.
install(TARGETS grantwright_desktop LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/grantwright COMPONENT runtime
        PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
install(TARGETS grantwright-helper EXPORT GrantwrightTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/grantwright COMPONENT runtime)
install(FILES completion/grantwright
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT runtime)

# A parent program includes <grantwright/permissions/TraditionalPermissionsZRN.h>; the
# headers include each other from include/grantwright, so both folders are on its path.
set(GRANTWRIGHT_LIBRARIES grantwright_core grantwright_platform)
set_target_properties(grantwright_core PROPERTIES EXPORT_NAME core)
set_target_properties(grantwright_platform PROPERTIES EXPORT_NAME platform)
set_target_properties(grantwright-helper PROPERTIES EXPORT_NAME helper)
install(TARGETS ${GRANTWRIGHT_LIBRARIES} EXPORT GrantwrightTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} ${GRANTWRIGHT_INCLUDE_DIR})

# The headers of every folder the installed libraries take sources from, but for a header
# whose own source is not in them (the helper's App): what is installed can be linked.
set(installed_sources)
foreach(library IN LISTS GRANTWRIGHT_LIBRARIES)
  get_target_property(sources ${library} SOURCES)
  list(APPEND installed_sources ${sources})
endforeach()
set(header_folders)
foreach(source IN LISTS installed_sources)
  get_filename_component(folder ${source} DIRECTORY)
  list(APPEND header_folders ${folder})
endforeach()
list(REMOVE_DUPLICATES header_folders)
foreach(folder IN LISTS header_folders)
  file(GLOB headers CONFIGURE_DEPENDS ${folder}/*.h)
  file(RELATIVE_PATH floor ${PROJECT_SOURCE_DIR}/src ${folder})
  foreach(header IN LISTS headers)
    string(REGEX REPLACE "\\.h$" ".cpp" own_source ${header})
    if(EXISTS ${own_source} AND NOT own_source IN_LIST installed_sources)
      continue()
    endif()
    install(FILES ${header} DESTINATION ${GRANTWRIGHT_INCLUDE_DIR}/${floor} COMPONENT development)
  endforeach()
endforeach()

# A library built with the sanitizers needs their runtime in every program that links it.
if(GRANTWRIGHT_SANITIZE)
  target_link_options(grantwright_platform INTERFACE $<INSTALL_INTERFACE:${GRANTWRIGHT_SANITIZER_FLAGS}>)
endif()

install(EXPORT GrantwrightTargets NAMESPACE Grantwright:: DESTINATION ${GRANTWRIGHT_CMAKE_DIR}
  COMPONENT development)
configure_package_config_file(cmake/GrantwrightConfig.cmake.in
  ${PROJECT_BINARY_DIR}/GrantwrightConfig.cmake INSTALL_DESTINATION ${GRANTWRIGHT_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/GrantwrightConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/GrantwrightConfig.cmake ${PROJECT_BINARY_DIR}/GrantwrightConfigVersion.cmake
  DESTINATION ${GRANTWRIGHT_CMAKE_DIR} COMPONENT development)

# pkg-config: the libraries the platform links by name, as the installed targets have them.
set(GRANTWRIGHT_PC_LIBS "-lgrantwright_core -lgrantwright_platform")
foreach(name IN LISTS GRANTWRIGHT_DEPENDENCY_NAMES)
  string(APPEND GRANTWRIGHT_PC_LIBS " -l${name}")
endforeach()
if(GRANTWRIGHT_SANITIZE)
  list(JOIN GRANTWRIGHT_SANITIZER_FLAGS " " sanitizer_flags)
  string(APPEND GRANTWRIGHT_PC_LIBS " ${sanitizer_flags}")
endif()
configure_file(cmake/grantwright.pc.in ${PROJECT_BINARY_DIR}/grantwright.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/grantwright.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)
