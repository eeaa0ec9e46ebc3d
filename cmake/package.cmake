# Configures the installer and the zip for Windows, which scripts/package makes with cpack; debian/rules makes Debian's
# packages. The installer is an NSIS script of its own, because CPack's script knows neither for whom it installs nor
# what an upgrade has to keep.
set(CPACK_PACKAGE_NAME ncedl)
set(CPACK_PACKAGE_VENDOR "the ncedl authors")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "DNC link between a PC and the NCE controller of a cutting machine")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_NCEDL_SOURCE ${CMAKE_SOURCE_DIR})
set(CPACK_MONOLITHIC_INSTALL ON)
set(CPACK_STRIP_FILES OFF) # strip would write the time into the programs, which are linked without symbols
set(CPACK_GENERATOR External)
set(CPACK_PACKAGE_FILE_NAME ncedl-${PROJECT_VERSION}-windows-x64)
set(CPACK_EXTERNAL_ENABLE_STAGING ON)
set(CPACK_EXTERNAL_PACKAGE_SCRIPT ${CMAKE_SOURCE_DIR}/cmake/package_windows.cmake)
include(CPack)
