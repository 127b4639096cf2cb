# The Debian package: `cpack` in the build folder makes tarnwellctl_VERSION_ARCHITECTURE.deb with the
# tool, its manual page and what Debian wants beside them. Its dependencies are read off the binary.

find_program(GZIP gzip REQUIRED)
foreach(source IN ITEMS tarnwellctl.1 debian/changelog)
  cmake_path(GET source FILENAME name)
  set(compressed ${CMAKE_CURRENT_BINARY_DIR}/${name}.gz)
  add_custom_command(OUTPUT ${compressed}
    COMMAND ${GZIP} --best --no-name --stdout ${CMAKE_CURRENT_SOURCE_DIR}/${source} > ${compressed}
    DEPENDS ${source}
    VERBATIM)
  list(APPEND compressed_files ${compressed})
endforeach()
add_custom_target(compressed_documents ALL DEPENDS ${compressed_files})

install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tarnwellctl.1.gz
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
install(FILES debian/copyright ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tarnwellctl COMPONENT runtime)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tarnwellctl)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_CONTACT "Tarnwell maintainers <maintainers@tarnwell.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "let a program read and change the Tarnwell task plan")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_COMPONENTS_ALL runtime)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME tarnwellctl)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS pkexec)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
"tarnwellctl reads one JSON command from its standard input, carries it out on
the plan that it shares with the Tarnwell desktop application, and writes one
JSON reply. Scripts and assistants may read and change the plan; approving
proposals and blocking websites stay with the user and the administrator.")
include(CPack)
