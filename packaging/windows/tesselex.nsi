; The per-user Windows setup of TESSELEX: no administrator, installed under
; %LOCALAPPDATA%\Programs\TESSELEX, started at log-in, removed from "Appar och funktioner".
; scripts/package-windows stages the files and passes:
;   VERSION  the programs' version            STAGE  the staged folder (what is installed)
;   OUTFILE  the setup's path                 LISTS  the folder of the two generated file lists
;   ICON     the program's icon (packaging/icons/tesselex.ico; the programs carry it too)
;   SIZE_KB  the installed size
; The lists name every staged file, so the uninstaller removes exactly what was installed and
; nothing the user made: the settings (registry), the program folder %LOCALAPPDATA%\TESSELEX
; (export.url, Config.TXT, Logs\, Outbox\) and the exported files stay.

Unicode true
Target amd64-unicode
SetCompressor /SOLID lzma
RequestExecutionLevel user
ManifestDPIAware true

!define NAME "TESSEL Export"
!define KEY "TESSELEX"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\${KEY}"
!define RUN_KEY "Software\Microsoft\Windows\CurrentVersion\Run"
!define SHORTCUT "$SMPROGRAMS\${NAME}.lnk"

Name "${NAME}"
OutFile "${OUTFILE}"
InstallDir "$LOCALAPPDATA\Programs\${KEY}"
InstallDirRegKey HKCU "${UNINSTALL_KEY}" "InstallLocation"
Icon "${ICON}"
UninstallIcon "${ICON}"
VIProductVersion "${VERSION}.0"
VIAddVersionKey /LANG=0 "ProductName" "${NAME}"
VIAddVersionKey /LANG=0 "ProductVersion" "${VERSION}"
VIAddVersionKey /LANG=0 "FileVersion" "${VERSION}"
VIAddVersionKey /LANG=0 "FileDescription" "${NAME} ${VERSION} setup"
VIAddVersionKey /LANG=0 "LegalCopyright" "TESSELEX developers"

!include "MUI2.nsh"
!include "LogicLib.nsh"
!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_FINISHPAGE_RUN "$INSTDIR\tesselex.exe"
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "Swedish"

; A running copy holds its files open. It is ended at once: every export it has taken on waits
; in the program folder's outbox, flushed, and goes out at its next start, so nothing is lost.
; Only the user's own copies: an administrator's setup leaves other users' programs alone.
!macro EndProgram EXE
    ReadEnvStr $1 USERNAME
    nsExec::Exec '"$SYSDIR\taskkill.exe" /F /IM ${EXE} /FI "USERNAME eq $1"'
    Pop $0
    ${If} $0 == 1
        ; Wine's taskkill knows no filter; there only the user's own programs run.
        nsExec::Exec '"$SYSDIR\taskkill.exe" /F /IM ${EXE}'
        Pop $0
    ${EndIf}
!macroend
!macro EndRunningPrograms
    !insertmacro EndProgram tesselex.exe
    !insertmacro EndProgram tesselex-cli.exe
    Sleep 500
!macroend

Function .onInit
    SetShellVarContext current
FunctionEnd

Function un.onInit
    SetShellVarContext current
FunctionEnd

Section "Install"
    !insertmacro EndRunningPrograms
    !include "${LISTS}/install-files.nsh"
    WriteUninstaller "$INSTDIR\uninstall.exe"

    CreateShortcut "${SHORTCUT}" "$INSTDIR\tesselex.exe" "" "$INSTDIR\tesselex.exe" 0
    ; Without an argument the program starts hidden in the notification area.
    WriteRegStr HKCU "${RUN_KEY}" "${KEY}" '"$INSTDIR\tesselex.exe"'

    WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayName" "${NAME}"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "Publisher" "TESSELEX developers"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\tesselex.exe,0"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
    WriteRegStr HKCU "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
    WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoModify" 1
    WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoRepair" 1
    WriteRegDWORD HKCU "${UNINSTALL_KEY}" "EstimatedSize" ${SIZE_KB}
SectionEnd

Section "Uninstall"
    !insertmacro EndRunningPrograms
    Delete "${SHORTCUT}"
    DeleteRegValue HKCU "${RUN_KEY}" "${KEY}"
    !include "${LISTS}/uninstall-files.nsh"
    Delete "$INSTDIR\uninstall.exe"
    ; Only when empty: a file the user put there stays, and so does its folder.
    RMDir "$INSTDIR"
    DeleteRegKey HKCU "${UNINSTALL_KEY}"
SectionEnd
