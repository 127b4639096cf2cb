# The programs with their manual pages and documents. Each program has a page in man/.

get_property(programs GLOBAL PROPERTY TARNWELL_PROGRAMS)
install(TARGETS ${programs} RUNTIME COMPONENT runtime)

find_program(GZIP gzip REQUIRED)
# SOURCE, relative to this folder, becomes NAME.gz in the build folder.
function(tarnwell_compress source name)
  set(compressed ${CMAKE_CURRENT_BINARY_DIR}/${name}.gz)
  add_custom_command(OUTPUT ${compressed}
    COMMAND ${GZIP} --best --no-name --stdout ${CMAKE_CURRENT_SOURCE_DIR}/${source} > ${compressed}
    DEPENDS ${source}
    VERBATIM)
  set_property(GLOBAL APPEND PROPERTY TARNWELL_COMPRESSED ${compressed})
endfunction()

foreach(program IN LISTS programs)
  get_target_property(name ${program} OUTPUT_NAME)
  if(NOT name)
    set(name ${program})
  endif()
  tarnwell_compress(man/${name}.1 ${name}.1)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.1.gz
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
endforeach()

set(shares ${CMAKE_INSTALL_DATADIR})
install(FILES completions/tarnwell.bash
  DESTINATION ${shares}/bash-completion/completions RENAME tarnwell COMPONENT runtime)
install(FILES completions/tarnwell.fish
  DESTINATION ${shares}/fish/vendor_completions.d COMPONENT runtime)
if(APPLE)
  set(zsh_folder ${shares}/zsh/site-functions)
else()
  set(zsh_folder ${shares}/zsh/vendor-completions) # where Debian's zsh looks
endif()
install(FILES completions/_tarnwell DESTINATION ${zsh_folder} COMPONENT runtime)

# In the repository's folders, so that the links between them work.
set(documents_folder ${CMAKE_INSTALL_DATADIR}/doc/tarnwell)
install(
  FILES
    ${PROJECT_SOURCE_DIR}/CHANGELOG.md
    ${PROJECT_SOURCE_DIR}/README.md
    ${PROJECT_SOURCE_DIR}/SECURITY.md
  DESTINATION ${documents_folder} COMPONENT runtime)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/schema
  DESTINATION ${documents_folder} COMPONENT runtime
  PATTERN *.py EXCLUDE)
set(agents ${PROJECT_SOURCE_DIR}/examples/agents)
install(FILES ${agents}/README.md
  DESTINATION ${documents_folder}/examples/agents COMPONENT runtime)
install(PROGRAMS ${agents}/create_task.mjs ${agents}/create_task.py ${agents}/create_task.sh
  DESTINATION ${documents_folder}/examples/agents COMPONENT runtime)

if(TARGET tarnwell-watch AND NOT APPLE)
  install(FILES tarnwell-watch.service DESTINATION lib/systemd/user COMPONENT runtime)
endif()
