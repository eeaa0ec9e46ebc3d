# Says where everything is installed. On Windows it all lies beside the programs, so that one folder can be copied.
# The components have the names of Debian's packages: ncedl is the window, ncedl-console the program without a window and
# the tools, and ncedl-doc the documents.
set(NCEDL_SYSTEM_LIBRARIES lib CACHE STRING "Where systemd's units and udev's rules go")

if(WIN32)
  set(shared_destination ${NCEDL_PROGRAM_DESTINATION})
  set(document_destination ${NCEDL_PROGRAM_DESTINATION})
  set(page_destination docs)
else()
  # The programs look for the dictionary in their own folder and in ../share/ncedl beside it.
  set(shared_destination ${CMAKE_INSTALL_DATADIR}/ncedl)
  set(document_destination ${CMAKE_INSTALL_DOCDIR})
  set(page_destination ${CMAKE_INSTALL_DOCDIR})
endif()

function(install_for_linux)
  file(GLOB man_pages CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/docs/man/*.1)
  if(NOT NCEDL_WINDOW)
    list(FILTER man_pages EXCLUDE REGEX "/ncedl\\.1$")
  endif()
  foreach(page ${man_pages})
    cmake_path(GET page STEM program)
    ncedl_component(${program} component)
    install(FILES ${page} COMPONENT ${component} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES packaging/bash-completion/ncedl RENAME ${program} COMPONENT ${component}
      DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  endforeach()
  if(NCEDL_WINDOW)
    install(FILES packaging/ncedl.desktop COMPONENT ncedl DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
    install(FILES packaging/local.ncedl.ncedl.metainfo.xml COMPONENT ncedl
      DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
    install(FILES packaging/ncedl.svg COMPONENT ncedl
      DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
    install(FILES packaging/ncedl.png COMPONENT ncedl
      DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/128x128/apps)
  endif()
endfunction()

# The folder is lib and not CMAKE_INSTALL_LIBDIR, because systemd and udev look in lib below /usr and /usr/local.
function(install_service)
  set(unit ${CMAKE_BINARY_DIR}/systemd/ncedl-console@.service)
  configure_file(packaging/systemd/ncedl-console@.service.in ${unit} @ONLY)
  install(FILES ${unit} packaging/systemd/ncedl-console@.socket COMPONENT ncedl-console
    DESTINATION ${NCEDL_SYSTEM_LIBRARIES}/systemd/system)
  install(FILES packaging/systemd/network-line.conf COMPONENT ncedl-console
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/ncedl-console/examples)
  install(FILES packaging/udev/60-ncedl.rules COMPONENT ncedl-console
    DESTINATION ${NCEDL_SYSTEM_LIBRARIES}/udev/rules.d)
endfunction()

# install_pages(FROM folder TO destination COMPONENT name PAGES names): installs pages as HTML, which every system can
# show. Where the programs that make HTML are missing, it installs the Markdown.
find_program(NCEDL_CMARK cmark-gfm)
find_program(NCEDL_PYTHON python3)
function(install_pages)
  cmake_parse_arguments(ARG "" "FROM;TO;COMPONENT" "PAGES" ${ARGN})
  if(NOT NCEDL_CMARK OR NOT NCEDL_PYTHON)
    foreach(page ${ARG_PAGES})
      cmake_path(GET page PARENT_PATH folder)
      install(FILES ${ARG_FROM}/${page} COMPONENT ${ARG_COMPONENT} DESTINATION ${ARG_TO}/${folder})
    endforeach()
    return()
  endif()
  string(MAKE_C_IDENTIFIER "pages_${ARG_FROM}" name)
  set(made ${CMAKE_BINARY_DIR}/pages/${name})
  set(script ${CMAKE_SOURCE_DIR}/packaging/pages_to_html.py)
  list(TRANSFORM ARG_PAGES PREPEND ${CMAKE_SOURCE_DIR}/${ARG_FROM}/ OUTPUT_VARIABLE sources)
  add_custom_command(OUTPUT ${made}.made DEPENDS ${script} ${sources} VERBATIM
    COMMAND ${NCEDL_PYTHON} ${script} ${CMAKE_SOURCE_DIR}/${ARG_FROM} ${made} ${ARG_PAGES}
    COMMAND ${CMAKE_COMMAND} -E touch ${made}.made COMMENT "Making HTML of ${ARG_FROM}")
  add_custom_target(${name} ALL DEPENDS ${made}.made)
  install(DIRECTORY ${made}/ COMPONENT ${ARG_COMPONENT} DESTINATION ${ARG_TO})
endfunction()

# Installs what users read. The pages about the architecture and about packaging are for those who have the sources.
function(install_documents)
  file(GLOB_RECURSE pages RELATIVE ${CMAKE_SOURCE_DIR}/docs CONFIGURE_DEPENDS docs/*.md docs/*.png)
  list(REMOVE_ITEM pages architecture.md packaging.md)
  install_pages(FROM docs TO ${page_destination} COMPONENT ncedl-doc PAGES ${pages})
  install(FILES NOTICE COMPONENT ncedl-doc DESTINATION ${document_destination})
  if(WIN32)
    install_pages(FROM data/samples TO samples COMPONENT ncedl-console PAGES README.md)
    install_pages(FROM . TO . COMPONENT ncedl-doc PAGES CHANGELOG.md)
  elseif(NCEDL_CMARK AND NCEDL_PYTHON)
    configure_file(packaging/ncedl-guide.desktop.in ${CMAKE_BINARY_DIR}/ncedl-guide.desktop @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/ncedl-guide.desktop COMPONENT ncedl-doc
      DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  endif()
  # Debian's packages have these files in their own way, so they don't install this component.
  install(FILES LICENSE COMPONENT licence DESTINATION ${document_destination})
  if(NOT WIN32)
    install(FILES CHANGELOG.md COMPONENT licence DESTINATION ${document_destination})
  endif()
endfunction()

if(NOT WIN32)
  install_for_linux()
  install_service()
endif()
install_documents()
install(FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/diction.ary COMPONENT ncedl-console DESTINATION ${shared_destination})
set(exclude "")
if(WIN32)
  set(exclude PATTERN README.md EXCLUDE)
endif()
install(DIRECTORY data/samples COMPONENT ncedl-console DESTINATION ${shared_destination} ${exclude})
