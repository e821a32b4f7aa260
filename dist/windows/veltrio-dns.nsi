; The Windows installer of Veltrio Dynamic DNS (NSIS 3, Modern UI 2).
; scripts/windows builds it:
;   makensis -DVERSION=1.0.1 -DSOURCE=<installed folder> -DICON=<veltrio-dns.ico>
;            -DOUTFILE=<setup.exe> veltrio-dns.nsi
;
; It installs for the current user, without administrator rights, into
; %LOCALAPPDATA%\Programs\Veltrio DNS, so the program's "Logs" folder beside
; it is writable. Start menu entry; an optional start at log-on (a value
; under HKCU\...\Run). The uninstaller removes the program's files, its
; Start menu entry and log-on start; it leaves the settings
; (HKCU\Software\Veltrio) and the logs unless the user asks, or /PURGE is
; given on its command line.

; A 64-bit installer for the 64-bit programs (it runs where they can).
Target amd64-unicode
SetCompressor /SOLID lzma
RequestExecutionLevel user

!include "MUI2.nsh"
!include "FileFunc.nsh"

!define PRODUCT "Veltrio Dynamic DNS"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\VeltrioDNS"
!define RUN_KEY "Software\Microsoft\Windows\CurrentVersion\Run"
!define SETTINGS_KEY "Software\Veltrio"

Name "${PRODUCT}"
OutFile "${OUTFILE}"
InstallDir "$LOCALAPPDATA\Programs\Veltrio DNS"
InstallDirRegKey HKCU "${UNINSTALL_KEY}" "InstallLocation"
VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "${PRODUCT}"
VIAddVersionKey "CompanyName" "Veltrio"
VIAddVersionKey "LegalCopyright" "Veltrio"
VIAddVersionKey "FileDescription" "${PRODUCT} Setup"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "ProductVersion" "${VERSION}"

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_FINISHPAGE_RUN "$INSTDIR\veltrio-dns.exe"
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

Section "Veltrio Dynamic DNS" SecProgram
    SectionIn RO
    SetOutPath "$INSTDIR"
    File /r "${SOURCE}/*.*"
    WriteUninstaller "$INSTDIR\uninstall.exe"

    CreateDirectory "$SMPROGRAMS\Veltrio"
    CreateShortCut "$SMPROGRAMS\Veltrio\${PRODUCT}.lnk" "$INSTDIR\veltrio-dns.exe"

    WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayName" "${PRODUCT}"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "Publisher" "Veltrio"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\veltrio-dns.exe"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
    WriteRegStr HKCU "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
    WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoModify" 1
    WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoRepair" 1
    ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
    WriteRegDWORD HKCU "${UNINSTALL_KEY}" "EstimatedSize" "$0"
SectionEnd

Section "Start at log-on" SecLogOn
    WriteRegStr HKCU "${RUN_KEY}" "Veltrio Dynamic DNS" '"$INSTDIR\veltrio-dns.exe"'
SectionEnd

!insertmacro MUI_FUNCTION_DESCRIPTION_BEGIN
    !insertmacro MUI_DESCRIPTION_TEXT ${SecProgram} "The client and its service mode (veltrio-dnsd)."
    !insertmacro MUI_DESCRIPTION_TEXT ${SecLogOn} "Start the client, in the notification area, when you log on."
!insertmacro MUI_FUNCTION_DESCRIPTION_END

Section "Uninstall"
    ; The program's own files, by name: whatever else the folder holds
    ; (the logs, a veltrio.conf of the user's) stays.
    Delete "$INSTDIR\veltrio-dns.exe"
    Delete "$INSTDIR\veltrio-dnsd.exe"
    Delete "$INSTDIR\*.dll"
    RMDir /r "$INSTDIR\platforms"
    RMDir /r "$INSTDIR\styles"
    RMDir /r "$INSTDIR\tls"
    Delete "$INSTDIR\uninstall.exe"
    Delete "$SMPROGRAMS\Veltrio\${PRODUCT}.lnk"
    RMDir "$SMPROGRAMS\Veltrio"
    DeleteRegValue HKCU "${RUN_KEY}" "Veltrio Dynamic DNS"
    DeleteRegKey HKCU "${UNINSTALL_KEY}"

    ${GetParameters} $0
    ClearErrors
    ${GetOptions} $0 "/PURGE" $1
    IfErrors 0 purge
    MessageBox MB_YESNO|MB_DEFBUTTON2|MB_ICONQUESTION \
        "Also remove your settings, saved login and logs?" /SD IDNO IDYES purge
    Goto done
purge:
    DeleteRegKey HKCU "${SETTINGS_KEY}"
    RMDir /r "$INSTDIR\Logs"
done:
    RMDir "$INSTDIR"
SectionEnd
