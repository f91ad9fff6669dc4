' Keeps a list in the settings folder that all users share: handed over, saved, read back, restored,
' and one report of a file that is not there.
'
'   cscript //nologo settings_demo.vbs

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

Dim files, saveRestore, blocks, restored, block, folder, company, path, text

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
WScript.Echo "Saved     " & Len(text) & " characters to " & path & ":"
WScript.Echo files.ReadTextFile(path, False)

Set restored = saveRestore.AsDelimitedToCollection(files.ReadTextFile(path, False), _
                   CreateObject("Brindlex.clsCreateTextData"), vbCrLf, "|", "Name")
Require Not restored Is Nothing, "the file becomes a list again"
Require restored.Count = blocks.Count, "as many entries as before"
For Each block In blocks
  Require restored(block.Name).DataString = block.DataString, block.Name & " is as it was"
Next
WScript.Echo "Restored  " & restored.Count & " entries of " & files.FileNameFromPath(path) & ", all equal"

WScript.Echo "A file that is not there, quietly: """ & files.ReadTextFile(folder & "\none.txt", True) & """"
WScript.Echo "And with a report; close its box:"
Require files.ReadTextFile(folder & "\none.txt", False) = "", "nothing is read"

WScript.Echo "demo: done"
