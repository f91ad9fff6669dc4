' Settings folders and text files in VBScript, with a class of the script as the host.
Option Explicit

Dim failures
failures = 0

Sub Check(what, expected, actual)
  If expected <> actual Then
    failures = failures + 1
    WScript.Echo "FAILED " & what & ": expected " & expected & ", got " & actual
  End If
End Sub

Sub ExpectBox(caption, text)
  WScript.Echo "expects box: " & caption & "|" & Replace(text, vbCrLf, "\r\n")
End Sub

Function Ending(description, number, line)
  Ending = "Error: " & description & " Error Number: " & number & " Line: " & line
End Function

Class Host
  Public Property Get UsingFarOrFarBar
    UsingFarOrFarBar = True
  End Property
  Public Property Get ProgDir
    ProgDir = "C:\Program"
  End Property
End Class

Dim files, environment, fso, company, folder, path, text, maker
Set files = CreateObject("Brindlex.clsAppFiles")
Set environment = CreateObject("Brindlex.clsEnvironment")
Set fso = CreateObject("Scripting.FileSystemObject")
maker = "Brindlex host test"

' The system
Check "release", "Windows Vista", environment.GetOsName()
Check "Vista", True, environment.IsWindowsVista()
Check "no such folder", "", environment.FindSystemFolder(9999)
Check "system folder", fso.GetSpecialFolder(1).Path, files.GetWinSysDirFolder().Path

' The settings folder
company = "before"
Check "no hand-over", "", files.SettingsFolderAllUsers(company)
Check "company without a hand-over", "before", company
files.StartUp New Host, "Product", maker
folder = files.SettingsFolderAllUsers(company)
Check "company", environment.FindSystemFolder(35) & "\" & maker, company
Check "folder", company & "\Product", folder
Check "folder exists", True, fso.FolderExists(folder)
Check "by value", folder, files.SettingsFolderAllUsers("a value")

' A file there and back
path = folder & "\notes.txt"
text = "one" & vbCrLf & "two" & Chr(0) & "three"
Check "saved", True, files.SaveTextFile(path, text, False)
Check "read", text, files.ReadTextFile(path, False)
fso.GetFile(path).Attributes = 3
Check "saved over a hidden read-only file", True, files.SaveTextFile(path, "new", False)
Check "attributes", 3, fso.GetFile(path).Attributes And 3
Check "saved safely", True, files.SaveTextFileSafely(path, "newer", False)
Check "read again", "newer", files.ReadTextFile(path, False)
Check "attributes", 3, fso.GetFile(path).Attributes And 3
Check "nothing beside it", 1, fso.GetFolder(folder).Files.Count
Check "saved safely again", True, files.SaveTextFileSafely(path, "new", False)
fso.GetFile(path).Attributes = 0
Check "name", "notes.txt", files.FileNameFromPath(path)
Check "name of a folder", "Product", files.FileNameFromPath(folder & "\")

' A copy, and its error as the script sees it
files.CopyFileKeepAttributes path, folder & "\copy.txt"
Check "copy", "new", files.ReadTextFile(folder & "\copy.txt", False)
On Error Resume Next
files.CopyFileKeepAttributes folder & "\none.txt", path
Check "copy of nothing", 53, Err.Number
Check "copy of nothing, text", "File not found", Err.Description
Err.Clear
On Error Goto 0

' Reports
ExpectBox "KX Error", "There was a system error [FFS-FSO-KX] saving a file: " & folder & "\no\f" & _
          vbCrLf & Ending("Path not found", 76, 2) & "Trying to save: the text"
Check "no folder", False, files.SaveTextFile(folder & "\no\f", "the text", True)
ExpectBox "KX Error", "There was a system error [FFS-SAFE-KX] saving a file: " & folder & "\no\f" & _
          vbCrLf & Ending("Path not found", 76, 2) & "Trying to save: the text"
Check "no folder", False, files.SaveTextFileSafely(folder & "\no\f", "the text", True)
ExpectBox "KX Error", "There was an error [FTS-FSO] opening a file: " & folder & "\none.txt" & _
          vbCrLf & Ending("File not found", 53, 1)
Check "missing", "", files.ReadTextFile(folder & "\none.txt", False)
Check "missing, quiet", "", files.ReadTextFile(folder & "\none.txt", True)
ExpectBox "KX Error", "There was an error [FTS-W] opening a file: none.txt" & vbCrLf & vbCrLf & _
          Ending("File not found", 53, 1)
Check "missing in the system folder", "", _
      files.ReadTextFile(fso.GetSpecialFolder(1).Path & "\none.txt", False)

fso.DeleteFolder company, True
Check "cached", folder, files.SettingsFolderAllUsers(company)
Check "not made again", False, fso.FolderExists(folder)

If failures = 0 Then WScript.Echo "all passed"
