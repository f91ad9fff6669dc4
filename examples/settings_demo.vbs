' The typical road: hands itself over as the host, asks for the settings folder that all users
' share, keeps a list there as a text file, reads it back, and has one failure reported. It changes
' nothing but the folder Brindlex\Settings demo in that place.
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

Sub AddBlock(blocks, name, data)
  Dim block
  Set block = CreateObject("Brindlex.clsTextData")
  block.Name = name
  block.DataString = data
  blocks.Add block, name
End Sub

' ---- The road -------------------------------------------------------------------------------------

Dim files, saveRestore, blocks, restored, block, folder, company, path, text, readBack, line, fso
Dim missing

Set files = CreateObject("Brindlex.clsAppFiles")
Set saveRestore = CreateObject("Brindlex.clsCollectionSaveRestore")

files.StartUp New Host, "Settings demo", "Brindlex"
folder = files.SettingsFolderAllUsers(company)
Require folder <> "", "there is a settings folder"
WScript.Echo "Company   " & company
WScript.Echo "Settings  " & folder

Set blocks = CreateObject("Brindlex.clsCollection")
AddBlock blocks, "Language", "English"
AddBlock blocks, "Window", "120 80 640 480"
AddBlock blocks, "Opened", CStr(Now)
text = saveRestore.AsDelimitedFromCollection(blocks, vbCrLf, "|")
Require text <> "", "the list becomes a text"

path = folder & "\settings.txt"
Require files.SaveTextFile(path, text, False), "the text is saved"
WScript.Echo "Saved     " & Len(text) & " characters to " & path
Set fso = CreateObject("Scripting.FileSystemObject")
Require fso.FileExists(path), "the file is there"

readBack = files.ReadTextFile(path, False)
Require readBack = text, "the file holds the text to the character"
WScript.Echo "It holds:"
For Each line In Split(readBack, vbCrLf)
  If line <> "" Then WScript.Echo "          " & line
Next

Set restored = saveRestore.AsDelimitedToCollection(readBack, _
                   CreateObject("Brindlex.clsCreateTextData"), vbCrLf, "|", "Name")
Require Not restored Is Nothing, "the file becomes a list again"
Require restored.Count = blocks.Count, "as many entries as before"
For Each block In blocks
  Require restored(block.Name).DataString = block.DataString, block.Name & " is as it was"
Next
WScript.Echo "Restored  " & restored.Count & " entries of " & files.FileNameFromPath(path) & ", all equal"

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
