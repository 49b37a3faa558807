; The installer: for one user, without other rights than theirs. Leaves nothing behind when it is taken away.
;
;   makensis -DTARGET=amd64-unicode -DCPU=x64 -DVERSION=1.2.3 -DSOURCE=FOLDER -DOUTPUT=FILE -DICON=FILE installer.nsi
;
; SOURCE holds a folder CPU with the programs, the guide and the licences. Silent: /S, with the choice of folder
; /D=FOLDER (last), and with /ASSOCIATE where the program is to be among those that open databases.
Target ${TARGET}
!include "MUI2.nsh"
!include "FileFunc.nsh"

!define NAME "Tolvane for Access"
!define ID "TolvaneForAccess"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\${ID}"
!define CLASS "${ID}.Database"

Name "${NAME}"
OutFile "${OUTPUT}"
RequestExecutionLevel user
InstallDir "$LOCALAPPDATA\Programs\${NAME}"
InstallDirRegKey HKCU "Software\${ID}" "Folder"
SetCompressor /SOLID lzma
SetDateSave off
VIProductVersion "${VERSION}.0"
VIAddVersionKey ProductName "${NAME}"
VIAddVersionKey FileDescription "${NAME} installer"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey LegalCopyright "2026 the Tolvane maintainers"

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_COMPONENTSPAGE_NODESC
!insertmacro MUI_PAGE_LICENSE "${SOURCE}\licences\Tolvane for Access.txt"
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!define MUI_FINISHPAGE_RUN "$INSTDIR\TolvaneForAccess.exe"
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

Section "Program and guide" SectionProgram
  SectionIn RO
  SetOutPath "$INSTDIR"
  File "${SOURCE}\${CPU}\TolvaneForAccess.exe"
  File "${SOURCE}\${CPU}\tolvane.exe"
  File "${SOURCE}\TolvaneForAccess.html"
  SetOutPath "$INSTDIR\licences"
  File "${SOURCE}\licences\*.txt"
  SetOutPath "$INSTDIR"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  WriteRegStr HKCU "Software\${ID}" "Folder" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayName" "${NAME}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\TolvaneForAccess.exe"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "Publisher" "Tolvane maintainers"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKCU "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoRepair" 1
SectionEnd

Section "Entry in the start menu" SectionMenu
  CreateShortCut "$SMPROGRAMS\${NAME}.lnk" "$INSTDIR\TolvaneForAccess.exe"
SectionEnd

; Among the programs of "Open with"; what opens databases by itself stays as it is.
Section /o "Offer it for .mdb and .accdb files" SectionAssociation
  WriteRegStr HKCU "Software\Classes\${CLASS}" "" "Damaged Access database"
  WriteRegStr HKCU "Software\Classes\${CLASS}\DefaultIcon" "" "$INSTDIR\TolvaneForAccess.exe,0"
  WriteRegStr HKCU "Software\Classes\${CLASS}\shell\open\command" "" '"$INSTDIR\TolvaneForAccess.exe" "%1"'
  WriteRegStr HKCU "Software\Classes\.mdb\OpenWithProgids" "${CLASS}" ""
  WriteRegStr HKCU "Software\Classes\.accdb\OpenWithProgids" "${CLASS}" ""
SectionEnd

Function .onInit
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/ASSOCIATE" $1
  IfErrors end
  !insertmacro SelectSection ${SectionAssociation}
end:
FunctionEnd

; Only what the installer has put there: a folder with other files stays with these.
Section "Uninstall"
  Delete "$INSTDIR\TolvaneForAccess.exe"
  Delete "$INSTDIR\tolvane.exe"
  Delete "$INSTDIR\TolvaneForAccess.html"
  Delete "$INSTDIR\licences\*.txt"
  RMDir "$INSTDIR\licences"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
  Delete "$SMPROGRAMS\${NAME}.lnk"
  DeleteRegKey HKCU "Software\Classes\${CLASS}"
  DeleteRegValue HKCU "Software\Classes\.mdb\OpenWithProgids" "${CLASS}"
  DeleteRegValue HKCU "Software\Classes\.accdb\OpenWithProgids" "${CLASS}"
  DeleteRegKey HKCU "${UNINSTALL_KEY}"
  DeleteRegKey HKCU "Software\${ID}"
SectionEnd
