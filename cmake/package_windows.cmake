# CPack runs this script to pack the staged files for Windows: an installer and a zip. CPack's own zip would hold the
# files in the order of the disk, with the times of their last reading.
set(stage ${CPACK_TEMPORARY_DIRECTORY})

# Writes the list of the files for ncedl.nsi, which installs and removes them by their names, so that nothing else in
# their folder is touched.
file(GLOB_RECURSE files LIST_DIRECTORIES true RELATIVE ${stage} ${stage}/*)
list(SORT files)
set(install "")
set(uninstall "")
set(folders "")
foreach(file ${files})
  string(REPLACE "/" "\\" name ${file})
  if(IS_DIRECTORY ${stage}/${file})
    string(PREPEND folders "  RMDir \"$INSTDIR\\${name}\"\n")
  else()
    cmake_path(GET file PARENT_PATH folder)
    string(REPLACE "/" "\\" folder "/${folder}")
    string(REGEX REPLACE "\\\\$" "" folder ${folder})
    string(APPEND install "  SetOutPath \"$INSTDIR${folder}\"\n  File \"${stage}/${file}\"\n")
    string(APPEND uninstall "  Delete \"$INSTDIR\\${name}\"\n")
  endif()
endforeach()
set(list ${CPACK_TOPLEVEL_DIRECTORY}/files.nsh)
file(WRITE ${list}
  "!macro INSTALL_FILES\n${install}!macroend\n!macro UNINSTALL_FILES\n${uninstall}${folders}!macroend\n")

set(installer ${CPACK_PACKAGE_DIRECTORY}/${CPACK_PACKAGE_FILE_NAME}-setup.exe)
execute_process(
  COMMAND makensis -V2 -WX -INPUTCHARSET UTF8 -DVERSION=${CPACK_PACKAGE_VERSION} -DSTAGE=${stage} -DFILES=${list}
    -DOUTPUT=${installer} -DROOT=${CPACK_NCEDL_SOURCE} ${CPACK_NCEDL_SOURCE}/packaging/windows/ncedl.nsi
  COMMAND_ERROR_IS_FATAL ANY)

# The zip has a KOR.INI beside the programs, so that they run from their folder.
set(top ${CPACK_TOPLEVEL_DIRECTORY}/zip)
set(folder ${top}/${CPACK_PACKAGE_FILE_NAME})
file(REMOVE_RECURSE ${folder})
file(COPY ${stage}/ DESTINATION ${folder})
file(COPY ${CPACK_NCEDL_SOURCE}/packaging/windows/KOR.INI DESTINATION ${folder})
file(MAKE_DIRECTORY ${folder}/nc/cnc)
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND find ${folder} -exec touch -d @$ENV{SOURCE_DATE_EPOCH} {} + COMMAND_ERROR_IS_FATAL ANY)
endif()
set(archive ${CPACK_PACKAGE_DIRECTORY}/${CPACK_PACKAGE_FILE_NAME}.zip)
file(REMOVE ${archive})
execute_process(
  COMMAND find ${CPACK_PACKAGE_FILE_NAME}
  COMMAND env LC_ALL=C sort
  COMMAND env TZ=UTC zip -qX -@ ${archive}
  WORKING_DIRECTORY ${top} COMMAND_ERROR_IS_FATAL ANY)
set(CPACK_EXTERNAL_BUILT_PACKAGES ${installer} ${archive})
