# Where an installation puts things. The wizard finds its companions (the osql-compatible tool,
# the offline database script, the chemistry module) beside its own program file, so they all
# live in one private program folder; the commands on the PATH are links into it.
include(GNUInstallDirs)
set(LABFOLIO_INSTALL_PROGRAMDIR "${CMAKE_INSTALL_LIBEXECDIR}/labfolio")

# labfolio_install_command(TARGET name): installs the program into the private folder and a
# relative link to it under bin/, so the installed tree can be moved (DESTDIR, another prefix).
function(labfolio_install_command)
  cmake_parse_arguments(C "" "TARGET" "" ${ARGN})
  install(TARGETS ${C_TARGET} RUNTIME DESTINATION ${LABFOLIO_INSTALL_PROGRAMDIR})
  file(RELATIVE_PATH target "${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}"
       "${CMAKE_INSTALL_PREFIX}/${LABFOLIO_INSTALL_PROGRAMDIR}/${C_TARGET}")
  set(link "${CMAKE_CURRENT_BINARY_DIR}/install-links/${C_TARGET}")
  file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/install-links")
  file(CREATE_LINK "${target}" "${link}" SYMBOLIC)
  install(FILES "${link}" DESTINATION ${CMAKE_INSTALL_BINDIR})
endfunction()
