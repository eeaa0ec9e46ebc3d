# Where everything goes. On Windows it all stands beside the programs: one folder to copy.
if(WIN32)
  set(shared_destination ${NCEDL_PROGRAM_DESTINATION})
  set(document_destination ${NCEDL_PROGRAM_DESTINATION})
else()
  # The programs look for the dictionary in their own folder and in ../share/ncedl beside it.
  set(shared_destination ${CMAKE_INSTALL_DATADIR}/ncedl)
  set(document_destination ${CMAKE_INSTALL_DOCDIR})
  file(GLOB man_pages CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/docs/man/*.1)
  install(FILES ${man_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()

install(FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/diction.ary DESTINATION ${shared_destination})
install(DIRECTORY data/samples DESTINATION ${shared_destination})
install(FILES LICENSE README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${document_destination})
install(DIRECTORY docs DESTINATION ${document_destination} PATTERN man EXCLUDE)
