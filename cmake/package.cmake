# What scripts/package makes with cpack.
set(CPACK_PACKAGE_NAME ncedl)
set(CPACK_PACKAGE_VENDOR "the ncedl authors")
set(CPACK_PACKAGE_CONTACT ${NCEDL_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "DNC link between a PC and the NCE controller of a cutting machine")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES OFF) # what is taken out of the programs for the debugger goes into packages of its own
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

if(WIN32)
  # The installer is an NSIS script of its own: CPack's has one for everybody, which knows neither who it installs for
  # nor what has to outlive an upgrade.
  set(CPACK_NCEDL_SOURCE ${CMAKE_SOURCE_DIR})
  set(CPACK_MONOLITHIC_INSTALL ON)
  set(CPACK_STRIP_FILES OFF) # would write the time into them; they are linked without symbols
  set(CPACK_GENERATOR External)
  set(CPACK_PACKAGE_FILE_NAME ncedl-${PROJECT_VERSION}-windows-x64)
  set(CPACK_EXTERNAL_ENABLE_STAGING ON)
  set(CPACK_EXTERNAL_PACKAGE_SCRIPT ${CMAKE_SOURCE_DIR}/cmake/package_windows.cmake)
  include(CPack)
  return()
endif()

set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 2)
set(CPACK_DEBIAN_PACKAGE_SECTION comm)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL ${NCEDL_COMPONENTS})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(control ${CMAKE_SOURCE_DIR}/packaging/debian)
set(describe "Keeps the programs of a sheet-metal cutting machine on a PC: sends those
that its NCE controller asks for over a serial line, stores those that it
sends, and lists the folder, for months on end.
.
")

set(CPACK_COMPONENT_WINDOW_DEPENDS console)
set(CPACK_DEBIAN_WINDOW_DESCRIPTION "${describe}This is the program with a window.")
set(CPACK_DEBIAN_WINDOW_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_WINDOW_PACKAGE_RECOMMENDS ncedl-doc)
set(CPACK_DEBIAN_WINDOW_DEBUGINFO_PACKAGE ON)

set(CPACK_DEBIAN_CONSOLE_DESCRIPTION "${describe}This is the program for a terminal and as a service. Beside it there are a
program that plays the controller, for trying out cabling and settings, and
tools for settings, compressed files and texts.")
set(CPACK_DEBIAN_CONSOLE_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_CONSOLE_PACKAGE_DEPENDS adduser)
set(CPACK_DEBIAN_CONSOLE_PACKAGE_RECOMMENDS ncedl-doc)
set(CPACK_DEBIAN_CONSOLE_PACKAGE_SUGGESTS bash-completion)
# Before 26.0.0-2 one package held everything.
set(CPACK_DEBIAN_CONSOLE_PACKAGE_BREAKS "ncedl (<< 26.0.0-2~)")
set(CPACK_DEBIAN_CONSOLE_PACKAGE_REPLACES "ncedl (<< 26.0.0-2~)")
set(CPACK_DEBIAN_CONSOLE_PACKAGE_CONTROL_EXTRA ${control}/postinst ${control}/prerm ${control}/postrm)
set(CPACK_DEBIAN_CONSOLE_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_CONSOLE_DEBUGINFO_PACKAGE ON)

set(CPACK_DEBIAN_DOCUMENTATION_DESCRIPTION "${describe}This is the user guide, with pages for the operator, about the protocol and
about the files.")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_BREAKS "ncedl (<< 26.0.0-2~)")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_REPLACES "ncedl (<< 26.0.0-2~)")

include(CPack)
