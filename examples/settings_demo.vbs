' The usual course: passes itself to the component as the host, asks for the settings folder that all
' users share, keeps several lists there in one text file, reads them back, changes one and removes
' one, and has one failure reported. It changes nothing but the folder Brindlex\Settings demo there.
'
'   cscript //nologo settings_demo.vbs
'
' One message box comes up and waits for its OK. `./dev demo` closes it by itself, and compares it to
' the line "expects box".

Option Explicit

' What the component asks its host.
Class Host
  Public Property Get UsingFarOrFarBar
    UsingFarOrFarBar = False
  End Property
  Public Property Get ProgDir
    ProgDir = CreateObject("Scripting.FileSystemObject").GetParentFolderName(WScript.ScriptFullName)
  End Property
End Class

Sub Require(condition, what)
  If Not condition Then
    WScript.Echo "FAILED: " & what
    WScript.Quit 1
  End If
End Sub

Function Setting(name, value)
  Dim made
  Set made = CreateObject("Brindlex.clsTextData")
  made.Name = name
  made.DataString = value
  Set Setting = made
End Function

' A list of settings under their names.
Function ListOf(settings)
  Dim list, one
  Set list = CreateObject("Brindlex.clsCollection")
  For Each one In settings
    list.Add one, one.Name
  Next
  Set ListOf = list
End Function

' ---- The usual course -----------------------------------------------------------------------------

Dim files, store, again, creator, folder, company, path, text, name, entry, fso, missing

Set files = CreateObject("Brindlex.clsAppFiles")
Set store = CreateObject("Brindlex.clsCollectionSaveRestore")
Set creator = CreateObject("Brindlex.clsCreateTextData")

files.StartUp New Host, "Settings demo", "Brindlex"
folder = files.SettingsFolderAllUsers(company)
Require folder <> "", "there is a settings folder"
WScript.Echo "Company   " & company
WScript.Echo "Settings  " & folder

' Several lists in one text. A value or name that would damage the text is refused.
store.RefuseMarkers = True
Require store.StoreCollection(ListOf(Array(Setting("Language", "English"), _
                                           Setting("Opened", CStr(Now)))), "General"), "stored"
Require store.StoreCollection(ListOf(Array(Setting("Main", "120 80 640 480"), _
                                           Setting("Tools", "800 80 200 480"))), "Windows"), "stored"
Require store.StoreCollection(ListOf(Array(Setting("1", "novels.txt"))), "Recent files"), "stored"

path = folder & "\settings.txt"
text = store.MultiDataString
Require files.SaveTextFileSafely(path, text, False), "the text is saved"
WScript.Echo "Saved     " & Len(text) & " characters to " & path
Set fso = CreateObject("Scripting.FileSystemObject")
Require fso.FileExists(path), "the file is there"

' At the next start.
Set again = CreateObject("Brindlex.clsCollectionSaveRestore")
again.MultiDataString = files.ReadTextFile(path, False)
Require again.MultiDataString = text, "the file holds the text to the character"
WScript.Echo "It holds:"
For Each name In again.CollectionNames
  WScript.Echo "          " & name
  For Each entry In again.WorkingCol(name, creator)
    WScript.Echo "            " & entry.Name & " = " & entry.DataString
  Next
Next
Require again.CollectionNames.Count = 3, "three lists"

' One list changes and one goes; the others stay as they are.
Require again.StoreCollection(ListOf(Array(Setting("Main", "0 0 1024 768"))), "Windows"), "stored"
Require again.RemoveCollection("recent files"), "removed"
Require files.SaveTextFileSafely(path, again.MultiDataString, False), "the text is saved"
store.MultiDataString = files.ReadTextFile(path, False)
Require store.CollectionNames.Count = 2, "two lists"
Require store.WorkingCol("Windows", creator, "Name")("Main").DataString = "0 0 1024 768", "changed"
Require store.WorkingCol("General", creator, "Name")("Language").DataString = "English", "kept"
WScript.Echo "Changed   one list, removed one, kept one"

' ---- A failure, without and with its report -------------------------------------------------------

missing = folder & "\none.txt"
Require files.ReadTextFile(missing, True) = "", "nothing is read"
WScript.Echo "Asked     quietly for " & missing & ": nothing there, nothing said"
WScript.Echo "And again, with the report that a user sees:"
WScript.Echo "expects box: KX Error|There was an error [FTS-FSO] opening a file: " & missing & _
             "\r\nError: File not found Error Number: 53 Line: 1"
Require files.ReadTextFile(missing, False) = "", "nothing is read"
WScript.Echo "The box was closed, and the program goes on."

WScript.Echo "demo: done"
