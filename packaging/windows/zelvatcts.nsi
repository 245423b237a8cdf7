; The Windows installer of Zelvatcts, made by scripts/windows.sh with NSIS:
;   makensis -DVERSION=1.0.0 -DSOURCE=<portable folder> -DOUTFILE=<setup.exe> zelvatcts.nsi
; It installs for the user who runs it (no administrator needed), into
; %LOCALAPPDATA%\Programs\Zelvatcts, with a Start-menu folder (the program, the guide, the
; uninstaller) and an entry in Apps & features. The installed programs keep their data (station
; file, msg.d, logs) in the per-user data folder %LOCALAPPDATA%\Zelvatcts, which the uninstaller
; never touches: no report is lost by removing the program.
Unicode true
!include "MUI2.nsh"

Name "Zelvat Call Taking System ${VERSION}"
OutFile "${OUTFILE}"
InstallDir "$LOCALAPPDATA\Programs\Zelvatcts"
RequestExecutionLevel user
SetCompressor /SOLID lzma

!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Zelvatcts"
!define MUI_FINISHPAGE_RUN "$INSTDIR\Zelvatcts.exe"
!define MUI_FINISHPAGE_SHOWREADME "$INSTDIR\docs\ZelvatUG-QuickStart.pdf"
!define MUI_FINISHPAGE_SHOWREADME_TEXT "Open the quick-start guide"
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

Section "Zelvatcts"
    SetOutPath "$INSTDIR"
    File /r "${SOURCE}/*.*"
    ; Tells the programs that this folder is an installation, not a portable program folder:
    ; their data goes to the per-user data folder.
    FileOpen $0 "$INSTDIR\Zelvatcts.installed" w
    FileWrite $0 "Installed by Zelvatcts ${VERSION} setup. The station file, the reports (msg.d) and the logs are in %LOCALAPPDATA%\Zelvatcts.$\r$\n"
    FileClose $0
    WriteUninstaller "$INSTDIR\Uninstall.exe"

    CreateDirectory "$SMPROGRAMS\Zelvatcts"
    CreateShortcut "$SMPROGRAMS\Zelvatcts\Zelvatcts.lnk" "$INSTDIR\Zelvatcts.exe"
    CreateShortcut "$SMPROGRAMS\Zelvatcts\Zelvatcts Quick-Start Guide.lnk" "$INSTDIR\docs\ZelvatUG-QuickStart.pdf"
    CreateShortcut "$SMPROGRAMS\Zelvatcts\Uninstall Zelvatcts.lnk" "$INSTDIR\Uninstall.exe"

    WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayName" "Zelvat Call Taking System"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\Zelvatcts.exe"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\Uninstall.exe"'
    WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoModify" 1
    WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoRepair" 1
SectionEnd

Section "Uninstall"
    ; Only what the installer put there: a report or a station file someone kept in this folder
    ; stays, and so does the folder then.
    Delete "$INSTDIR\*.exe"
    Delete "$INSTDIR\*.dll"
    Delete "$INSTDIR\Zelvatcts.installed"
    RMDir /r "$INSTDIR\platforms"
    RMDir /r "$INSTDIR\styles"
    Delete "$INSTDIR\docs\ZelvatUG-QuickStart.pdf"
    RMDir "$INSTDIR\docs"
    RMDir "$INSTDIR"
    RMDir /r "$SMPROGRAMS\Zelvatcts"
    DeleteRegKey HKCU "${UNINSTALL_KEY}"
SectionEnd
