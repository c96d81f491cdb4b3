; The installer for Windows. ./nimbrel package calls makensis with VERSION, STAGE (the folder that cmake --install has
; filled), FILES (what `list` made of it) and OUTPUT.
;
; Silent: Nimbrel-Setup.exe /S [/PLUGINS=FOLDER|none] [/D=FOLDER]
;   /PLUGINS  the host's own folder of plug-ins for the importer, over what the registry says; none leaves it out
;   /D        where the programs go, last and without quotes
; Exit codes: 0 done; 1 cancelled; 2 a plug-in is in use, close the host and install again; 3 done, but no host was found
; for the importer.
Unicode true
Target amd64-unicode
!include LogicLib.nsh
!include FileFunc.nsh

!define HOSTS "SOFTWARE\Adobe\After Effects"
!define OLDEST_HOST 22
!define OWN "SOFTWARE\Nimbrel"
!define UNINSTALL "SOFTWARE\Microsoft\Windows\CurrentVersion\Uninstall\Nimbrel"

Name "Nimbrel ${VERSION}"
OutFile "${OUTPUT}"
SetCompressor /SOLID lzma
RequestExecutionLevel admin
InstallDir "$PROGRAMFILES64\Nimbrel"
InstallDirRegKey HKLM "${OWN}" "Folder"
ShowInstDetails nevershow
VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "Nimbrel"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "FileDescription" "Installer of Nimbrel"
VIAddVersionKey "CompanyName" "velmaris"
VIAddVersionKey "LegalCopyright" "The Nimbrel developers"

Var Common     ; the folder that all hosts look into
Var Hosts      ; number of hosts found
Var Plugins    ; the host's folder that the user named, or none
Var Index
Var Key
Var Value

!include "${FILES}"

LicenseData "${STAGE}\Licence.txt"
Page license
PageEx directory
  DirText "Nimbrel's programs and its guide go into this folder."
PageExEnd
PageEx directory
  PageCallbacks AskForPlugins "" ""
  DirVar $Plugins
  DirVerify leave
  DirText "No After Effects 2022 or newer was found. Name its own folder of plug-ins, so that it can import PLY files. \
    It is called Plug-ins and lies in the program's folder Support Files." "" "" "The folder of plug-ins"
PageExEnd
Page instfiles
UninstPage uninstConfirm
UninstPage instfiles

; Calls BODY with the folder of plug-ins of each host that is new enough in $Value.
!macro ForEachHost BODY
  StrCpy $Index 0
  ${Do}
    EnumRegKey $Key HKLM "${HOSTS}" $Index
    ${If} $Key == ""
      ${ExitDo}
    ${EndIf}
    IntOp $Index $Index + 1
    ReadRegStr $Value HKLM "${HOSTS}\$Key" "PluginInstallPath"
    IntOp $0 $Key + 0
    ${If} $Value != ""
    ${AndIf} $0 >= ${OLDEST_HOST}
      Call ${BODY}
    ${EndIf}
  ${Loop}
!macroend

Function CountHost
  IntOp $Hosts $Hosts + 1
  ReadRegStr $0 HKLM "${HOSTS}\$Key" "CommonPluginInstallPath"
  ${If} $0 != ""
    StrCpy $Common $0
  ${EndIf}
FunctionEnd

Function .onInit
  SetRegView 64
  StrCpy $Common "$PROGRAMFILES64\Adobe\Common\Plug-ins\7.0\MediaCore"
  StrCpy $Hosts 0
  !insertmacro ForEachHost CountHost
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/PLUGINS=" $Plugins
FunctionEnd

Function AskForPlugins
  ${If} $Hosts > 0
  ${OrIf} $Plugins != ""
    Abort
  ${EndIf}
  StrCpy $Plugins "$PROGRAMFILES64\Adobe\Adobe After Effects 2022\Support Files\Plug-ins"
FunctionEnd

!macro Fail TEXT
  MessageBox MB_OK|MB_ICONSTOP "${TEXT}" /SD IDOK
  SetErrorLevel 2
  Quit
!macroend

; Puts a plug-in into the folder Nimbrel of $Value, and keeps in the registry where, and which of the folders around it
; was there already. A file that a host holds open can't be replaced.
!macro InstallPlugin FILE
  StrCpy $0 $Value 1 -1
  ${If} $0 == "\"
    StrCpy $Value $Value -1
  ${EndIf}
  StrCpy $0 $Value
  ${DoUntil} ${FileExists} "$0\*.*"
    ${GetParent} "$0" $0
  ${LoopUntil} $0 == ""
  SetOutPath "$Value\Nimbrel"
  ClearErrors
  SetOverwrite try
  File "${STAGE}\${FILE}"
  SetOverwrite on
  ${If} ${Errors}
    !insertmacro Fail "${FILE} cannot be written into $Value\Nimbrel. Close After Effects and every other program that \
      uses Nimbrel, then install again."
  ${EndIf}
  WriteRegStr HKLM "${OWN}\Plugins" "$Value\Nimbrel\${FILE}" "$0"
!macroend

Function InstallImporter
  !insertmacro InstallPlugin "NimbrelImport.aex"
FunctionEnd

Section
  ; What an older version has left would stay for ever.
  ReadRegStr $0 HKLM "${OWN}" "Folder"
  ${If} $0 != ""
  ${AndIf} ${FileExists} "$0\uninstall.exe"
    ExecWait '"$0\uninstall.exe" /S _?=$0' $1
    ${If} $1 <> 0
      !insertmacro Fail "The installed version cannot be removed. Close After Effects and every other program that uses \
        Nimbrel, then install again."
    ${EndIf}
    Delete "$0\uninstall.exe"
    RMDir "$0"
  ${EndIf}

  CreateDirectory "$INSTDIR"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  WriteRegStr HKLM "${OWN}" "Folder" "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL}" "DisplayName" "Nimbrel"
  WriteRegStr HKLM "${UNINSTALL}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKLM "${UNINSTALL}" "Publisher" "velmaris"
  WriteRegStr HKLM "${UNINSTALL}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${UNINSTALL}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKLM "${UNINSTALL}" "NoModify" 1
  WriteRegDWORD HKLM "${UNINSTALL}" "NoRepair" 1
  SectionGetSize 0 $0
  WriteRegDWORD HKLM "${UNINSTALL}" "EstimatedSize" $0

  !insertmacro InstallPrograms
  StrCpy $Value $Common
  !insertmacro InstallPlugin "Nimbrel.aex"

  ${If} $Plugins == "none"
    Return
  ${EndIf}
  ${If} $Plugins != ""
    StrCpy $Value $Plugins
    Call InstallImporter
  ${ElseIf} $Hosts > 0
    !insertmacro ForEachHost InstallImporter
  ${Else}
    SetErrorLevel 3
  ${EndIf}
SectionEnd

Function un.onInit
  SetRegView 64
FunctionEnd

; Removes $0 and the folders around it, as long as they are empty, up to $1, which was there before.
Function un.RemoveFolders
  ${DoUntil} $0 == $1
    ClearErrors
    RMDir "$0"
    ${If} ${Errors}
    ${OrIf} $0 == ""
      ${ExitDo}
    ${EndIf}
    ${un.GetParent} "$0" $0
  ${Loop}
FunctionEnd

Section un.Nimbrel
  ; A plug-in in use stays, with its place in the registry, and so does the rest, so that all can be tried again.
  ${Do}
    EnumRegValue $Value HKLM "${OWN}\Plugins" 0
    ${If} $Value == ""
      ${ExitDo}
    ${EndIf}
    ClearErrors
    Delete "$Value"
    ${If} ${Errors}
      MessageBox MB_OK|MB_ICONSTOP "$Value is in use. Close After Effects and every other program that uses Nimbrel, \
        then try again." /SD IDOK
      SetErrorLevel 2
      Quit
    ${EndIf}
    ReadRegStr $1 HKLM "${OWN}\Plugins" "$Value"
    DeleteRegValue HKLM "${OWN}\Plugins" "$Value"
    ${un.GetParent} "$Value" $0
    Call un.RemoveFolders
  ${Loop}
  !insertmacro RemovePrograms
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
  DeleteRegKey HKLM "${OWN}"
  DeleteRegKey HKLM "${UNINSTALL}"
SectionEnd
