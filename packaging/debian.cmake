# The Debian packages that `cpack` makes in the build folder: tarnwell, with the programs, and
# libtarnwell-dev, with the library. The programs' dependencies are derived from the binaries.

set(debian_changelog ${CMAKE_CURRENT_SOURCE_DIR}/debian/changelog)
tarnwell_compress(debian/changelog changelog)
foreach(package IN ITEMS tarnwell libtarnwell-dev)
  if(package STREQUAL "tarnwell")
    set(component runtime)
  else()
    set(component development)
  endif()
  install(FILES debian/copyright ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endforeach()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/host
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libtarnwell-dev/examples COMPONENT development)
install(FILES debian/libtarnwell-dev.lintian-overrides
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME libtarnwell-dev
  COMPONENT development)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tarnwell)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_CONTACT "Tarnwell maintainers <maintainers@tarnwell.example>")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Files are as old as the changelog's last entry, so that equal sources make equal packages.
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_SOURCE_DIR}/debian_date.cmake)
set(CPACK_TARNWELL_CHANGELOG ${debian_changelog})

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME tarnwell)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS pkexec)
# The package's name until 0.1.0.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_PROVIDES tarnwellctl)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_REPLACES tarnwellctl)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONFLICTS tarnwellctl)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
"plan tasks and focus on them
Tarnwell keeps a personal plan of tasks, tracks the work on them, and blocks
distracting websites meanwhile. tarnwell is the user's program at the
terminal, and tarnwell-watch its resident part, which rings reminders and
ends the blocking. Assistants read and change the plan through tarnwell-mcp,
which speaks the Model Context Protocol, and scripts through tarnwellctl: one
JSON command in, one JSON reply out. Approving proposals stays with the user,
and blocking websites with the administrator.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtarnwell-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libsimdjson-dev, liburiparser-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS tarnwell)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"engines of the Tarnwell task planner (development files)
The static library and the headers of the engines that the programs of the
package tarnwell are made of, for C++ programs that embed them.")
include(CPack)
