; The installer of the Windows program, and the uninstaller that it leaves. package.cmake calls makensis with the files:
;   VERSION, NUMBERS (four parts), FILES (a script with macros of all files), KILOBYTES, LONGEST (characters of the longest
;   path below the program's folder), ICON, OUTPUT
;
; Switches (docs/windows.md tells them to people):
;   /S silent   /CURRENTUSER  /ALLUSERS  /AUTOSTART=1 or 0  /DOWNGRADE=1  /LANG:GER or ENGL  /D=folder (the last one, unquoted)
; and of the uninstaller: /S  /DELETEDATA=1; /FILES=1 takes away the program's files alone, as an update asks it to.
; What a silent run ends with; others are those of NSIS (1: given up by the user, 2: a file cannot be written).
!define CODE_RUNNING 3      ; the program runs and does not end
!define CODE_UNWRITABLE 4   ; the folder cannot be used
!define CODE_RIGHTS 5       ; only an administrator installs for all users
!define CODE_NEWER 6        ; a newer version is there
!define CODE_SPACE 7        ; no room on the disk

Target amd64-unicode
!include MUI2.nsh
!include LogicLib.nsh
!include FileFunc.nsh
!include WordFunc.nsh
!include nsDialogs.nsh
!include "${FILES}"

!define PRODUCT "Tarnwick"
!define PUBLISHER "Velmora"
!define PROGRAM "tarnwick.exe"
!define MAIN_WINDOW "VelmoraTWWinClass"
!define COMMAND_QUIT 2299
!define END_STEPS 120  ; of a quarter of a second each, for the program to end in
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\${PRODUCT}"
!define RUN_KEY "Software\Microsoft\Windows\CurrentVersion\Run"
!define RUN_SWITCHES_KEY "Software\Microsoft\Windows\CurrentVersion\Explorer\StartupApproved\Run"
!define SETTINGS_KEY "Software\${PUBLISHER}\${PRODUCT}"
; All is put here first, so that an installation that fails leaves the earlier version as it was.
!define NEW "$INSTDIR\tarnwick-new"

Name "${PRODUCT}"
OutFile "${OUTPUT}"
InstallDir ""
RequestExecutionLevel user
SetCompressor /SOLID lzma
SetDateSave off
AllowSkipFiles off
ShowInstDetails nevershow
ShowUninstDetails nevershow
ManifestSupportedOS all
ManifestDPIAware true
BrandingText "${PRODUCT} ${VERSION}"
VIProductVersion "${NUMBERS}"
VIFileVersion "${NUMBERS}"
VIAddVersionKey /LANG=0 "ProductName" "${PRODUCT}"
VIAddVersionKey /LANG=0 "ProductVersion" "${VERSION}"
VIAddVersionKey /LANG=0 "FileVersion" "${VERSION}"
VIAddVersionKey /LANG=0 "FileDescription" "${PRODUCT} Setup"
VIAddVersionKey /LANG=0 "CompanyName" "${PUBLISHER}"
VIAddVersionKey /LANG=0 "LegalCopyright" "Copyright (c) 2026 The Tarnwick authors"

Var ForAll       ; 1: for all users
Var AutoStart    ; 1, 0, or empty: as it is
Var GivenDir     ; the folder of /D
Var OldDir       ; where a version is installed for the same users, and which
Var OldVersion
Var Busy         ; the file that is in use
Var DeleteData
Var FilesOnly
Var RadioUser
Var RadioAll
Var CheckBox

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_ABORTWARNING
Page custom ChoicePage ChoiceLeave
!define MUI_PAGE_CUSTOMFUNCTION_PRE SkipForUpdate
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!define MUI_FINISHPAGE_RUN
!define MUI_FINISHPAGE_RUN_TEXT "$(TEXT_RUN)"
!define MUI_FINISHPAGE_RUN_FUNCTION StartProgram
!insertmacro MUI_PAGE_FINISH
UninstPage custom un.ChoicePage un.ChoiceLeave
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"
!insertmacro MUI_LANGUAGE "German"
!include "${__FILEDIR__}\texts.nsh"

; Fail CODE TEXT: tells why, and ends without having changed anything that counts.
!macro Fail code text
    SetErrorLevel ${code}
    MessageBox MB_OK|MB_ICONSTOP "${text}" /SD IDOK
    Abort
!macroend
!define Fail "!insertmacro Fail"

; Option RESULT NAME: what stands after that switch; the second form whether it is there.
!macro Option result name
    ${GetParameters} $0
    ${GetOptions} $0 "${name}" ${result}
!macroend
!macro HasOption result name
    StrCpy ${result} 0
    ${GetParameters} $0
    ClearErrors
    ${GetOptions} $0 "${name}" $1
    ${IfNot} ${Errors}
        StrCpy ${result} 1
    ${EndIf}
!macroend

!macro SharedFunctions un
; The user's language, or the one that was asked for.
Function ${un}ReadLanguage
    !insertmacro Option $1 "/LANG:"
    ${If} $1 == "GER"
        StrCpy $LANGUAGE ${LANG_GERMAN}
    ${ElseIf} $1 == "ENGL"
        StrCpy $LANGUAGE ${LANG_ENGLISH}
    ${EndIf}
FunctionEnd

; Finds what is installed for those users whom $ForAll names, and has all that follows mean them.
Function ${un}UseMode
    ${If} $ForAll = 1
        SetShellVarContext all
    ${Else}
        SetShellVarContext current
    ${EndIf}
    ReadRegStr $OldDir SHCTX "${UNINSTALL_KEY}" "InstallLocation"
    ReadRegStr $OldVersion SHCTX "${UNINSTALL_KEY}" "DisplayVersion"
FunctionEnd

; Busy: a program of the folder in $R0 that runs, or empty.
Function ${un}FindBusy
    StrCpy $Busy ""
    ${For} $R1 1 2
        StrCpy $R2 "$R0\${PROGRAM}"
        ${If} $R1 = 2
            StrCpy $R2 "$R0\tarnwickc.exe"
        ${EndIf}
        ${If} ${FileExists} "$R2"
            ; Nobody may write to a program that runs.
            ClearErrors
            FileOpen $R3 "$R2" a
            ${If} ${Errors}
                StrCpy $Busy "$R2"
            ${Else}
                FileClose $R3
            ${EndIf}
        ${EndIf}
    ${Next}
FunctionEnd

; Asks the program in the folder in $R0 to end, as its own menu does, and waits for that. Busy: what has not ended.
Function ${un}EndProgram
    again:
    Call ${un}FindBusy
    StrCpy $R4 0
    ${Do}
        ${If} $Busy == ""
        ${OrIf} $R4 >= ${END_STEPS}
            ${Break}
        ${EndIf}
        ; Once a second: it may have been starting, or a newer one may have come up.
        IntOp $R5 $R4 % 4
        ${If} $R5 = 0
            DetailPrint "$(TEXT_ENDING)"
            FindWindow $R5 "${MAIN_WINDOW}"
            ${If} $R5 P<> 0
                SendMessage $R5 ${WM_COMMAND} ${COMMAND_QUIT} 0 /TIMEOUT=1000
            ${ElseIf} $R4 >= 8
                ${Break}  ; nobody who could be asked
            ${EndIf}
        ${EndIf}
        Sleep 250
        Call ${un}FindBusy
        IntOp $R4 $R4 + 1
    ${Loop}
    ${If} $Busy != ""
        MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "$(TEXT_BUSY)" /SD IDCANCEL IDRETRY again
    ${EndIf}
FunctionEnd

; $R0: 1 if this account may install for all.
Function ${un}AskRights
    UserInfo::GetAccountType
    Pop $R1
    StrCpy $R0 0
    ${If} $R1 == "Admin"
        StrCpy $R0 1
    ${EndIf}
FunctionEnd
!macroend
!insertmacro SharedFunctions ""
!insertmacro SharedFunctions "un."

Function .onInit
    SetRegView 64
    Call ReadLanguage
    StrCpy $GivenDir $INSTDIR
    ${If} $GivenDir == ""
        ; NSIS drops a folder that cannot be, and would install elsewhere without a word.
        System::Call 'kernel32::GetCommandLineW() w .r0'
        ClearErrors
        ${GetOptions} $0 "/D=" $INSTDIR
        ${IfNot} ${Errors}
            ${Fail} ${CODE_UNWRITABLE} "$(TEXT_UNWRITABLE)"
        ${EndIf}
    ${EndIf}
    !insertmacro Option $AutoStart "/AUTOSTART="
    !insertmacro HasOption $ForAll "/ALLUSERS"
    !insertmacro HasOption $2 "/CURRENTUSER"
    ; Who says nothing means whom it is installed for already.
    ${If} $ForAll = 0
        Call UseMode
        ${If} $OldDir == ""
        ${AndIf} $2 = 0
            StrCpy $ForAll 1
            Call UseMode
            ${If} $OldDir == ""
                StrCpy $ForAll 0
            ${EndIf}
        ${EndIf}
    ${EndIf}
    Call TakeMode
    ${If} ${Silent}
        Call CheckMode
    ${EndIf}
FunctionEnd

; The folder for the users who are chosen.
Function TakeMode
    Call UseMode
    ${If} $GivenDir != ""
        StrCpy $INSTDIR $GivenDir
    ${ElseIf} $OldDir != ""
        StrCpy $INSTDIR $OldDir
    ${ElseIf} $ForAll = 1
        StrCpy $INSTDIR "$PROGRAMFILES64\${PRODUCT}"
    ${Else}
        StrCpy $INSTDIR "$LOCALAPPDATA\Programs\${PRODUCT}"
    ${EndIf}
FunctionEnd

; Ends where this account may not install for all, or where a newer version is there that nobody wants to lose.
Function CheckMode
    ${If} $ForAll = 1
        Call AskRights
        ${If} $R0 = 0
            ${Fail} ${CODE_RIGHTS} "$(TEXT_RIGHTS)"
        ${EndIf}
    ${EndIf}
    ${If} $OldVersion != ""
        ${VersionCompare} "$OldVersion" "${VERSION}" $R0
        !insertmacro Option $R1 "/DOWNGRADE="
        ${If} $R0 = 1
        ${AndIf} $R1 != 1
            SetErrorLevel ${CODE_NEWER}
            MessageBox MB_YESNO|MB_ICONQUESTION|MB_DEFBUTTON2 "$(TEXT_NEWER)" /SD IDNO IDYES +2
            Abort
            SetErrorLevel -1
        ${EndIf}
    ${EndIf}
FunctionEnd

Function ChoicePage
    !insertmacro MUI_HEADER_TEXT "$(TEXT_CHOICE_HEAD)" "$(TEXT_CHOICE_SUB)"
    nsDialogs::Create 1018
    Pop $0
    ${NSD_CreateLabel} 0 0 100% 12u "$(TEXT_FOR_WHOM)"
    Pop $0
    ${NSD_CreateRadioButton} 8u 16u 95% 12u "$(TEXT_FOR_ME)"
    Pop $RadioUser
    ${NSD_AddStyle} $RadioUser ${WS_GROUP}
    ${NSD_CreateRadioButton} 8u 31u 95% 12u "$(TEXT_FOR_ALL)"
    Pop $RadioAll
    ${If} $ForAll = 1
        ${NSD_Check} $RadioAll
    ${Else}
        ${NSD_Check} $RadioUser
    ${EndIf}
    ${NSD_CreateCheckBox} 0 56u 100% 12u "$(TEXT_AUTOSTART)"
    Pop $CheckBox
    ${NSD_AddStyle} $CheckBox ${WS_GROUP}
    ${If} $AutoStart == ""
        ReadRegStr $0 HKCU "${RUN_KEY}" "${PRODUCT}"
        ${If} $0 != ""
            StrCpy $AutoStart 1
        ${EndIf}
    ${EndIf}
    ${If} $AutoStart = 1
        ${NSD_Check} $CheckBox
    ${EndIf}
    ${NSD_CreateLabel} 0 84u 100% 34u "$(TEXT_UPDATE_NOTE)"
    Pop $0
    nsDialogs::Show
FunctionEnd

Function ChoiceLeave
    ${NSD_GetState} $RadioAll $ForAll
    ${NSD_GetState} $CheckBox $AutoStart
    Call TakeMode
    Call AskRights
    ${If} $ForAll = 1
    ${AndIf} $R0 = 0
        ; The same once more with an administrator's rights, if the user can give them.
        StrCpy $0 "/ALLUSERS /AUTOSTART=$AutoStart"
        ${If} $GivenDir != ""
            StrCpy $0 "$0 /D=$GivenDir"
        ${EndIf}
        ClearErrors
        ExecShell "runas" "$EXEPATH" "$0"
        ${IfNot} ${Errors}
            Quit
        ${EndIf}
        MessageBox MB_OK|MB_ICONEXCLAMATION "$(TEXT_RIGHTS)"
        Abort
    ${EndIf}
    Call CheckMode
FunctionEnd

; An update goes where the program is.
Function SkipForUpdate
    ${If} $OldDir != ""
    ${AndIf} $GivenDir == ""
        Abort
    ${EndIf}
FunctionEnd

Function StartProgram
    ; By the desktop, which has the user's own rights.
    Exec '"$WINDIR\explorer.exe" "$INSTDIR\${PROGRAM}"'
FunctionEnd

; The room on the disk and the length of paths, while nothing has been touched yet.
Function CheckPlace
    StrLen $0 "$INSTDIR"
    IntOp $0 $0 + ${LONGEST}
    ${If} $0 > 240
        ${Fail} ${CODE_UNWRITABLE} "$(TEXT_TOO_LONG)"
    ${EndIf}
    ClearErrors
    RMDir /r "${NEW}"
    CreateDirectory "${NEW}"
    ClearErrors
    FileOpen $0 "${NEW}\trial" w
    ${If} ${Errors}
        ${Fail} ${CODE_UNWRITABLE} "$(TEXT_UNWRITABLE)"
    ${EndIf}
    FileClose $0
    Delete "${NEW}\trial"
    System::Call 'kernel32::GetDiskFreeSpaceExW(w "$INSTDIR", *l .r0, p 0, p 0) i .r1'
    ${If} $1 <> 0
        System::Int64Op $0 / 1024
        Pop $0
        System::Int64Op $0 < ${KILOBYTES}
        Pop $0
        ${If} $0 = 1
            ${Fail} ${CODE_SPACE} "$(TEXT_SPACE)"
        ${EndIf}
    ${EndIf}
FunctionEnd

Section
    SetRegView 64
    Call CheckPlace
    ${If} $OldDir != ""
    ${AndIf} $OldDir != $INSTDIR
        StrCpy $R0 $OldDir
        Call EndProgram
    ${Else}
        StrCpy $Busy ""
    ${EndIf}
    ${If} $Busy == ""
        StrCpy $R0 $INSTDIR
        Call EndProgram
    ${EndIf}
    ${If} $Busy != ""
        SetErrorLevel ${CODE_RUNNING}
        Abort "$(TEXT_BUSY)"
    ${EndIf}
    !insertmacro ExtractFiles "${NEW}"
    SetOutPath "$INSTDIR"

    ; An earlier version knows best which files are its own.
    ${If} $OldDir != ""
    ${AndIf} ${FileExists} "$OldDir\uninstall.exe"
        ExecWait '"$OldDir\uninstall.exe" /S /FILES=1 _?=$OldDir'
        ${If} $OldDir != $INSTDIR
            Delete "$OldDir\uninstall.exe"
            RMDir "$OldDir"
        ${EndIf}
    ${EndIf}
    ClearErrors
    !insertmacro MoveFiles "${NEW}" "$INSTDIR"
    ${If} ${Errors}
        ${Fail} ${CODE_UNWRITABLE} "$(TEXT_UNWRITABLE)"
    ${EndIf}
    WriteUninstaller "$INSTDIR\uninstall.exe"
    CreateShortCut "$SMPROGRAMS\${PRODUCT}.lnk" "$INSTDIR\${PROGRAM}"

    ClearErrors
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayName" "${PRODUCT}"
    ${If} ${Errors}
        ${Fail} ${CODE_RIGHTS} "$(TEXT_RIGHTS)"
    ${EndIf}
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "Publisher" "${PUBLISHER}"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\${PROGRAM},0"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
    WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "EstimatedSize" ${KILOBYTES}
    WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoModify" 1
    WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoRepair" 1

    ; The same value that the program's own setting writes. One that names the old place follows.
    ReadRegStr $0 HKCU "${RUN_KEY}" "${PRODUCT}"
    ${If} $AutoStart == ""
    ${AndIf} $0 == "$OldDir\${PROGRAM}"
        StrCpy $AutoStart 1
    ${EndIf}
    ${If} $AutoStart == 1
        WriteRegStr HKCU "${RUN_KEY}" "${PRODUCT}" "$INSTDIR\${PROGRAM}"
    ${ElseIf} $AutoStart == 0
        DeleteRegValue HKCU "${RUN_KEY}" "${PRODUCT}"
    ${EndIf}
SectionEnd

Function .onInstFailed
    SetOutPath "$TEMP"
    RMDir /r "${NEW}"
    RMDir "$INSTDIR"
FunctionEnd

Function un.onInit
    SetRegView 64
    Call un.ReadLanguage
    StrCpy $DeleteData 0
    !insertmacro Option $DeleteData "/DELETEDATA="
    !insertmacro HasOption $FilesOnly "/FILES=1"
    StrCpy $ForAll 1
    Call un.UseMode
    ${If} $OldDir != $INSTDIR
        StrCpy $ForAll 0
        Call un.UseMode
    ${EndIf}
    Call un.AskRights
    ${If} $ForAll = 1
    ${AndIf} $R0 = 0
        ${IfNot} ${Silent}
            ClearErrors
            ExecShell "runas" "$INSTDIR\uninstall.exe"
            ${IfNot} ${Errors}
                Quit
            ${EndIf}
        ${EndIf}
        ${Fail} ${CODE_RIGHTS} "$(TEXT_UN_RIGHTS)"
    ${EndIf}
FunctionEnd

Function un.ChoicePage
    !insertmacro MUI_HEADER_TEXT "$(TEXT_UN_HEAD)" "$(TEXT_UN_SUB)"
    nsDialogs::Create 1018
    Pop $0
    ${NSD_CreateLabel} 0 0 100% 24u "$(TEXT_UN_WHERE)"
    Pop $0
    ${NSD_CreateCheckBox} 0 36u 100% 12u "$(TEXT_UN_DATA)"
    Pop $CheckBox
    ${NSD_CreateLabel} 12u 50u 95% 40u "$(TEXT_UN_DATA_NOTE)"
    Pop $0
    nsDialogs::Show
FunctionEnd

Function un.ChoiceLeave
    ${NSD_GetState} $CheckBox $DeleteData
FunctionEnd

; The user's data, by the names that the program gives them: the folder may hold other things.
!macro DeleteDataFile name
    Delete "$R0\${name}"
    Delete "$R0\${name}.bad"
!macroend
Function un.DeleteUserData
    ; As the program reads it: a value may lack the end that a text has.
    System::Call 'advapi32::RegGetValueW(p 0x80000001, w "${SETTINGS_KEY}", w "ApplicationDataDir", i 2, p 0, w .R0, *i 2048) i .R1'
    ${If} $R1 <> 0
        StrCpy $R0 "$APPDATA\${PUBLISHER}\${PRODUCT}"
    ${EndIf}
    !insertmacro DeleteDataFile "tarnwick.ini"
    !insertmacro DeleteDataFile "accounts.ini"
    !insertmacro DeleteDataFile "mailtypes.ini"
    !insertmacro DeleteDataFile "learned.dat"
    !insertmacro DeleteDataFile "spamdef.dat"
    !insertmacro DeleteDataFile "spamvars.dat"
    !insertmacro DeleteDataFile "myfriends.dat"
    !insertmacro DeleteDataFile "badsenders.dat"
    !insertmacro DeleteDataFile "trashid.dat"
    Delete "$R0\lastpopup.txt"
    Delete "$R0\reason.tmp"
    Delete "$R0\tarnwick.lock"
    Delete "$R0\assert.log"
    Delete "$R0\logit.log"
    Delete "$R0\spamwords.log"
    Delete "$R0\trash\*.ini"
    Delete "$R0\trash\*.txt"
    RMDir "$R0\trash"
    RMDir "$R0"
    RMDir "$APPDATA\${PUBLISHER}"
    DeleteRegKey HKCU "${SETTINGS_KEY}"
    DeleteRegKey /ifempty HKCU "Software\${PUBLISHER}"
FunctionEnd

; Kept data are found again by the value that names their folder; all others go.
Function un.ForgetWindows
    StrCpy $R0 0
    ${Do}
        ClearErrors
        EnumRegValue $R1 HKCU "${SETTINGS_KEY}" $R0
        ${If} $R1 == ""
            ${Break}
        ${EndIf}
        StrCpy $R2 $R1 18
        ${If} $R2 == "ApplicationDataDir"
            IntOp $R0 $R0 + 1
        ${Else}
            DeleteRegValue HKCU "${SETTINGS_KEY}" $R1
        ${EndIf}
    ${Loop}
FunctionEnd

Section "Uninstall"
    SetRegView 64
    StrCpy $R0 $INSTDIR
    Call un.EndProgram
    ${If} $Busy != ""
        SetErrorLevel ${CODE_RUNNING}
        Abort "$(TEXT_BUSY)"
    ${EndIf}
    !insertmacro DeleteFiles "$INSTDIR"
    ${If} $FilesOnly = 1
        Return
    ${EndIf}
    ; What the program writes beside itself, unless its data lie there, too.
    Delete "$INSTDIR\assert.log"
    Delete "$INSTDIR\logit.log"
    Delete "$INSTDIR\spamwords.log"
    ${IfNot} ${FileExists} "$INSTDIR\tarnwick.ini"
        Delete "$INSTDIR\lastpopup.txt"
    ${EndIf}
    Delete "$INSTDIR\uninstall.exe"
    SetOutPath "$TEMP"
    Delete "$SMPROGRAMS\${PRODUCT}.lnk"
    DeleteRegKey SHCTX "${UNINSTALL_KEY}"
    ReadRegStr $0 HKCU "${RUN_KEY}" "${PRODUCT}"
    ${If} $0 == "$INSTDIR\${PROGRAM}"
        DeleteRegValue HKCU "${RUN_KEY}" "${PRODUCT}"
        DeleteRegValue HKCU "${RUN_SWITCHES_KEY}" "${PRODUCT}"
    ${EndIf}

    ; Whoever has it installed twice goes on with the other one.
    ReadRegStr $0 HKCU "${UNINSTALL_KEY}" "InstallLocation"
    ReadRegStr $1 HKLM "${UNINSTALL_KEY}" "InstallLocation"
    SetShellVarContext current
    ${If} "$0$1" == ""
        ${If} $DeleteData = 1
            Call un.DeleteUserData
        ${Else}
            Call un.ForgetWindows
        ${EndIf}
    ${EndIf}
    RMDir "$INSTDIR"
SectionEnd
