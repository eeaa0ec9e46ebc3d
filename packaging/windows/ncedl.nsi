; The installer for Windows. cmake/package_windows.cmake defines VERSION, STAGE (the folder with the files to install),
; FILES (the list of them), OUTPUT and ROOT (the tree).
;   /S              shows no windows
;   /AllUsers, /CurrentUser   installs for this computer, or for this user
;   /MAIN=FOLDER    names the main folder; the other folders in its KOR.INI stay as they are
;   /AUTOSTART      starts the program with Windows
;   /D=FOLDER       names the programs' folder; must be the last option, without quotes
; The uninstaller knows:
;   /S              shows no windows, and keeps the user's settings and NC programs unless one of the next two is there
;   /SETTINGS=delete, /PROGRAMS=delete
; Exit codes: 0 done, 1 cancelled, 2 failed, 3 a program of an older version is running.
Unicode true
Target amd64-unicode
SetCompressor /SOLID lzma
SetDateSave off
ManifestSupportedOS Win10
ManifestDPIAware true
Name "NCE DNC link"
OutFile "${OUTPUT}"
BrandingText "NCE DNC link ${VERSION}"

!define SUITE "Velmora\Plenova 2026"
!define KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\ncedl"
!define RUN "Software\Microsoft\Windows\CurrentVersion\Run"
!define CONFIGURATION "Software\${SUITE}\Configuration"
!define GUID_ALL "{6D1B8C52-0E3F-4C57-9A55-2C0D6A1F7E01}"
!define GUID_USER "{6D1B8C52-0E3F-4C57-9A55-2C0D6A1F7E02}"

!define MULTIUSER_MUI
!define MULTIUSER_EXECUTIONLEVEL Highest
!define MULTIUSER_INSTALLMODE_COMMANDLINE
!define MULTIUSER_INSTALLMODE_INSTDIR "ncedl"
!define MULTIUSER_INSTALLMODE_INSTDIR_REGISTRY_KEY "${KEY}"
!define MULTIUSER_INSTALLMODE_INSTDIR_REGISTRY_VALUENAME "InstallLocation"
!define MULTIUSER_INSTALLMODE_DEFAULT_REGISTRY_KEY "${KEY}"
!define MULTIUSER_INSTALLMODE_DEFAULT_REGISTRY_VALUENAME "InstallLocation"
!define MULTIUSER_USE_PROGRAMFILES64
!include MultiUser.nsh
!include MUI2.nsh
!include FileFunc.nsh
!include WordFunc.nsh
!include "${FILES}"

VIProductVersion "${VERSION}.0"
VIAddVersionKey ProductName "NCE DNC link"
VIAddVersionKey ProductVersion "${VERSION}"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey FileDescription "NCE DNC link, installer"
VIAddVersionKey LegalCopyright "2026 the ncedl authors, MIT License"

Var MainFolder
Var MainAsked ; from /MAIN=
Var Guid
Var Answer

!define MUI_ABORTWARNING
!define MUI_ICON "${ROOT}/packaging/ncedl.ico"
!define MUI_UNICON "${ROOT}/packaging/ncedl.ico"
!insertmacro MUI_PAGE_LICENSE "${STAGE}/LICENSE"
!insertmacro MULTIUSER_PAGE_INSTALLMODE
!insertmacro MUI_PAGE_DIRECTORY
!define MUI_PAGE_CUSTOMFUNCTION_PRE ChooseMainFolder
!define MUI_PAGE_HEADER_TEXT "$(MainFolderTitle)"
!define MUI_PAGE_HEADER_SUBTEXT "$(MainFolderWhat)"
!define MUI_DIRECTORYPAGE_TEXT_TOP "$(MainFolderUse)"
!define MUI_DIRECTORYPAGE_TEXT_DESTINATION "$(MainFolderTitle)"
!define MUI_DIRECTORYPAGE_VARIABLE $MainFolder
!insertmacro MUI_PAGE_DIRECTORY
!define MUI_COMPONENTSPAGE_NODESC
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_INSTFILES
!define MUI_FINISHPAGE_RUN
!define MUI_FINISHPAGE_RUN_FUNCTION StartProgram
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!include texts.nsh

; --- Installing and removing ---

!macro KNOW_MODE UN
  Function ${UN}KnowMode
    ${If} $MultiUser.InstallMode == AllUsers
      StrCpy $Guid "${GUID_ALL}"
    ${Else}
      StrCpy $Guid "${GUID_USER}"
    ${EndIf}
    ReadRegStr $0 SHCTX "${KEY}" "MainFolder"
    ${If} $MainAsked != ""
      StrCpy $MainFolder $MainAsked
    ${ElseIf} $0 != ""
      StrCpy $MainFolder $0
    ${EndIf}
  FunctionEnd

  ; A running program may be sending, so the installer never ends one.
  Function ${UN}RefuseRunning
    FindFirst $0 $1 "$INSTDIR\*.exe"
    ${DoWhile} $1 != ""
      ClearErrors
      ${If} $1 != "uninstall.exe"
        FileOpen $2 "$INSTDIR\$1" a
        ${If} ${Errors}
          MessageBox MB_OK|MB_ICONEXCLAMATION "$(IsRunning)" /SD IDOK
          SetErrorLevel 3
          Quit
        ${EndIf}
        FileClose $2
      ${EndIf}
      FindNext $0 $1
    ${Loop}
    FindClose $0
  FunctionEnd
!macroend
!insertmacro KNOW_MODE ""
!insertmacro KNOW_MODE "un."

; --- Installing ---

Function .onInit
  SetRegView 64
  StrCpy $9 $INSTDIR ; from /D=, which MultiUser forgets
  !insertmacro MULTIUSER_INIT
  ${If} $9 != ""
    StrCpy $INSTDIR $9
  ${EndIf}
  ${GetParameters} $0
  ${GetOptions} $0 "/MAIN=" $MainAsked
  ReadRegStr $1 SHCTX "${RUN}" "ncedl" ; an upgrade keeps this
  ClearErrors
  ${GetOptions} $0 "/AUTOSTART" $2
  ${IfNot} ${Errors}
  ${OrIf} $1 != ""
    SectionSetFlags 1 1
  ${EndIf}
FunctionEnd

Function SettleMainFolder
  ${If} $MainFolder == ""
    StrCpy $MainFolder "$DOCUMENTS\${SUITE}"
  ${EndIf}
FunctionEnd

; Asks only at the first installation.
Function ChooseMainFolder
  StrCpy $MainFolder ""
  Call KnowMode
  ${If} $MainFolder != ""
    Abort
  ${EndIf}
  Call SettleMainFolder
FunctionEnd

; Removes the files of the installed version, and nothing else.
Function RemoveOlder
  ReadRegStr $0 SHCTX "${KEY}" "UninstallString"
  ReadRegStr $1 SHCTX "${KEY}" "InstallLocation"
  ${If} $0 == ""
  ${OrIfNot} ${FileExists} "$1\uninstall.exe"
    Return
  ${EndIf}
  CopyFiles /SILENT "$1\uninstall.exe" "$PLUGINSDIR\older.exe"
  ClearErrors
  ExecWait '"$PLUGINSDIR\older.exe" /S /UPGRADE /$MultiUser.InstallMode _?=$1' $2
  ${If} ${Errors}
  ${OrIf} $2 != 0 ; the uninstaller has said why
    SetErrorLevel 3
    Quit
  ${EndIf}
  Delete "$1\uninstall.exe"
FunctionEnd

; Removes what ncedl-setup has registered, and the keys above it when they are then empty.
!macro FORGET_CONFIGURATION
  DeleteRegKey HKCU "${CONFIGURATION}\$Guid"
  DeleteRegKey /ifempty HKCU "${CONFIGURATION}"
  DeleteRegKey /ifempty HKCU "Software\${SUITE}"
  DeleteRegKey /ifempty HKCU "Software\Velmora"
!macroend

; Lets ncedl-setup make the data folder, the program paths and the configuration. A configuration belongs to one user.
; For all users the list of folders therefore goes into the data folder, where a program without a configuration looks.
Function MakeMainFolder
  Call SettleMainFolder
  StrCpy $0 "$MainFolder\KOR.INI"
  StrCpy $1 $0
  ${If} $MultiUser.InstallMode == AllUsers
    StrCpy $1 "$DOCUMENTS\${SUITE}\KOR.INI"
  ${EndIf}
  ReadRegStr $2 SHCTX "${KEY}" "MainFolder"
  ReadINIStr $3 $1 "PROGRAM PATHS" "Main" ; an uninstaller may have kept it
  ${WordReplace} "$MainFolder\" "\" "/" "+" $4
  ${If} ${FileExists} $1
    ${If} $2 == $MainFolder
    ${OrIf} $3 == $4
      DetailPrint "$1 stays as it is."
      Return
    ${EndIf}
  ${EndIf}
  StrCpy $2 "" ; not empty: the main folder already has a list
  ${If} ${FileExists} $0
    StrCpy $2 "kept"
  ${EndIf}
  ; Without the dot, the backslash at the end of a drive's root would escape the quote.
  nsExec::ExecToLog '"$INSTDIR\ncedl-setup.exe" --main "$MainFolder\." --guid $Guid'
  Pop $3
  ${If} $3 != 0
    MessageBox MB_OK|MB_ICONEXCLAMATION "$(CantPrepare)" /SD IDOK
    SetErrorLevel 2
  ${ElseIf} $0 != $1
    CreateDirectory "$DOCUMENTS\${SUITE}"
    CopyFiles /SILENT $0 $1
    ${If} $2 == ""
      Delete $0
    ${EndIf}
    !insertmacro FORGET_CONFIGURATION
  ${EndIf}
FunctionEnd

Function EnterInSystem
  WriteUninstaller "$INSTDIR\uninstall.exe"
  WriteRegStr SHCTX "${KEY}" "DisplayName" "NCE DNC link"
  WriteRegStr SHCTX "${KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr SHCTX "${KEY}" "Publisher" "the ncedl authors"
  WriteRegStr SHCTX "${KEY}" "DisplayIcon" "$INSTDIR\ncedl.exe"
  WriteRegStr SHCTX "${KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr SHCTX "${KEY}" "MainFolder" "$MainFolder"
  WriteRegStr SHCTX "${KEY}" "UninstallString" '"$INSTDIR\uninstall.exe" /$MultiUser.InstallMode'
  WriteRegStr SHCTX "${KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /$MultiUser.InstallMode /S'
  WriteRegDWORD SHCTX "${KEY}" "NoModify" 1
  WriteRegDWORD SHCTX "${KEY}" "NoRepair" 1
  ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
  WriteRegDWORD SHCTX "${KEY}" "EstimatedSize" $0
FunctionEnd

Section "$(ProgramsPart)"
  SectionIn RO
  Call KnowMode
  Call RefuseRunning
  Call RemoveOlder
  DeleteRegValue SHCTX "${RUN}" "ncedl"
  !insertmacro INSTALL_FILES
  SetOutPath "$INSTDIR" ; where the shortcuts start
  Call MakeMainFolder
  CreateDirectory "$SMPROGRAMS\NCE DNC link"
  CreateShortcut "$SMPROGRAMS\NCE DNC link\Download.lnk" "$INSTDIR\ncedl.exe"
  CreateShortcut "$SMPROGRAMS\NCE DNC link\Download (console).lnk" "$INSTDIR\ncedl-console.exe"
  CreateShortcut "$SMPROGRAMS\NCE DNC link\User guide.lnk" "$INSTDIR\docs\user-guide.html"
  CreateShortcut "$SMPROGRAMS\NCE DNC link\Documents.lnk" "$INSTDIR\docs"
  CreateShortcut "$SMPROGRAMS\NCE DNC link\NC programs.lnk" "$MainFolder\cnc"
  Call EnterInSystem
SectionEnd

; Lets the desktop start the program, so that it has the user's rights and settings and not the installer's.
Function StartProgram
  Exec '"$WINDIR\explorer.exe" "$SMPROGRAMS\NCE DNC link\Download.lnk"'
FunctionEnd

Section /o "$(StartPart)"
  WriteRegStr SHCTX "${RUN}" "ncedl" '"$INSTDIR\ncedl.exe"'
SectionEnd

; --- Removing ---

Function un.onInit
  SetRegView 64
  !insertmacro MULTIUSER_UNINIT
  Call un.KnowMode
FunctionEnd

; Sets $Answer to delete when an option or the user says so.
!macro ASK OPTION QUESTION
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/${OPTION}=" $Answer
  ${If} ${Errors}
    StrCpy $Answer keep
    MessageBox MB_YESNO|MB_ICONQUESTION|MB_DEFBUTTON2 "${QUESTION}" /SD IDNO IDNO +2
    StrCpy $Answer delete
  ${EndIf}
!macroend

; Deletes this user's settings with their logs, and the configuration. Files of other programs in these folders stay.
Function un.DeleteSettings
  SetShellVarContext current
  Delete "$APPDATA\${SUITE}\*.INI"
  Delete "$APPDATA\${SUITE}\*.INI.damaged"
  Delete "$APPDATA\${SUITE}\*.jobs"
  Delete "$APPDATA\${SUITE}\*.lock"
  Delete "$APPDATA\${SUITE}\*.log"
  Delete "$APPDATA\${SUITE}\*.log.1"
  Delete "$APPDATA\${SUITE}\*.window"
  RMDir "$APPDATA\${SUITE}"
  RMDir "$APPDATA\Velmora"
  DeleteRegValue HKCU "Software\${SUITE}\COMMON" "Language"
  DeleteRegKey /ifempty HKCU "Software\${SUITE}\COMMON"
  !insertmacro FORGET_CONFIGURATION
  Delete "$MainFolder\KOR.INI"
FunctionEnd

; Removes the empty folders of the main folder, and the list of folders for all users.
Function un.RemoveMainFolder
  Delete "$DOCUMENTS\${SUITE}\KOR.INI"
  FindFirst $0 $1 "$MainFolder\*.*"
  ${DoWhile} $1 != ""
    ${If} $1 != "."
    ${AndIf} $1 != ".."
      RMDir "$MainFolder\$1"
    ${EndIf}
    FindNext $0 $1
  ${Loop}
  FindClose $0
  RMDir "$MainFolder"
  RMDir "$DOCUMENTS\${SUITE}"
  RMDir "$DOCUMENTS\Velmora"
FunctionEnd

Function un.DeleteData
  ${If} $MainFolder == ""
    Return
  ${EndIf}
  !insertmacro ASK "PROGRAMS" "$(AskPrograms)"
  ${If} $Answer == delete
    RMDir /r "$MainFolder\cnc"
  ${EndIf}
  !insertmacro ASK "SETTINGS" "$(AskSettings)"
  ${If} $Answer == delete
    Call un.DeleteSettings
    ${If} $MultiUser.InstallMode == AllUsers
      SetShellVarContext all
    ${EndIf}
    Call un.RemoveMainFolder
  ${EndIf}
FunctionEnd

Section "Uninstall"
  Call un.RefuseRunning
  !insertmacro UNINSTALL_FILES
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/UPGRADE" $1
  ${IfNot} ${Errors}
    Return
  ${EndIf}
  RMDir /r "$SMPROGRAMS\NCE DNC link"
  DeleteRegValue SHCTX "${RUN}" "ncedl"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
  Call un.DeleteData
  DeleteRegKey SHCTX "${KEY}"
SectionEnd
