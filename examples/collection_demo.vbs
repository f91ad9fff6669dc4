' Keeps a list of the files of the system folder as one delimited text: saved, written to a file,
' read back, restored and compared, field by field. The records are classes of this script.
'
'   cscript //nologo collection_demo.vbs [FOLDER]

Option Explicit

' ---- The record: one file, with a text, a number, a date and a flag ------------------------------

Class FileRecord
  Private m_name
  Private m_size
  Private m_changed
  Private m_readOnly

  Public Property Get Name
    Name = m_name
  End Property
  Public Property Let Name(text)
    m_name = CStr(text)
  End Property

  Public Property Get Size
    Size = m_size
  End Property
  Public Property Let Size(text)
    m_size = CDbl(text)
  End Property

  Public Property Get Changed
    Changed = m_changed
  End Property
  Public Property Let Changed(text)
    m_changed = CDate(text)
  End Property

  Public Property Get IsReadOnly
    IsReadOnly = m_readOnly
  End Property
  Public Property Let IsReadOnly(text)
    m_readOnly = CBool(text)
  End Property

  ' The fields, in the order in which they are written.
  Public Function GetMemberNames()
    Dim names, name
    Set names = CreateObject("Brindlex.clsCollection")
    For Each name In Array("Name", "Size", "Changed", "IsReadOnly")
      names.Add name, name
    Next
    Set GetMemberNames = names
  End Function
End Class

Class CreateFileRecord
  Public Function GetNewObject()
    Set GetNewObject = New FileRecord
  End Function
End Class

' ---- Steps ---------------------------------------------------------------------------------------

Const ReadOnlyAttribute = 1
Const ForReading = 1

Dim fso, saveRestore
Set fso = CreateObject("Scripting.FileSystemObject")
Set saveRestore = CreateObject("Brindlex.clsCollectionSaveRestore")

Sub Require(condition, what)
  If Not condition Then
    WScript.Echo "FAILED: " & what
    WScript.Quit 1
  End If
End Sub

Function RecordOf(file)
  Dim record
  Set record = New FileRecord
  record.Name = file.Name
  record.Size = file.Size
  record.Changed = file.DateLastModified
  record.IsReadOnly = (file.Attributes And ReadOnlyAttribute) <> 0
  Set RecordOf = record
End Function

Function FilesOf(folder)
  Dim files, file, record
  Set files = CreateObject("Brindlex.clsCollection")
  For Each file In fso.GetFolder(folder).Files
    Set record = RecordOf(file)
    files.Add record, record.Name
  Next
  Set FilesOf = files
End Function

Sub WriteText(path, text)
  Dim stream
  Set stream = fso.CreateTextFile(path, True)
  stream.Write text
  stream.Close
End Sub

Function ReadText(path)
  Dim stream
  Set stream = fso.OpenTextFile(path, ForReading)
  ReadText = ""
  Do Until stream.AtEndOfStream
    ReadText = ReadText & stream.Read(16384)
  Loop
  stream.Close
End Function

Function SameFields(left, right)
  SameFields = left.Name = right.Name And left.Size = right.Size And _
               left.Changed = right.Changed And left.IsReadOnly = right.IsReadOnly
End Function

Sub CompareAll(files, restored)
  Dim position
  Require restored.Count = files.Count, "as many records as before"
  For position = 1 To files.Count
    Require SameFields(files(position), restored(position)), "record " & position & " is the same"
  Next
End Sub

Sub LookUp(files, position, restored)
  Dim name
  name = files(position).Name
  Require restored(UCase(name)).Name = name, name & " is found under " & UCase(name)
  Require restored(LCase(name)).Name = name, name & " is found under " & LCase(name)
  WScript.Echo "  " & UCase(name) & " is " & name & ", " & restored(UCase(name)).Size & " bytes"
End Sub

' The files of at least `size` bytes.
Function LargeFiles(files, size)
  Dim file
  Set LargeFiles = CreateObject("Brindlex.clsCollection")
  For Each file In files
    If file.Size >= size Then LargeFiles.Add file
  Next
End Function

Function Milliseconds(since)
  Milliseconds = CLng((Timer - since) * 1000) & " ms"
End Function

' ---- The road ------------------------------------------------------------------------------------

Dim folder, files, large, text, path, readBack, restored, creator, start

If WScript.Arguments.Count > 0 Then
  folder = WScript.Arguments(0)
Else
  folder = fso.GetSpecialFolder(1).Path
End If
Set creator = New CreateFileRecord

start = Timer
Set files = FilesOf(folder)
Require files.Count >= 3, folder & " holds files"
WScript.Echo "Listed    " & files.Count & " files of " & folder & " in " & Milliseconds(start)

start = Timer
text = saveRestore.AsDelimitedFromCollection(files)
Require Len(text) > 0, "the collection is saved"
WScript.Echo "Saved     " & Len(text) & " characters in " & Milliseconds(start)

path = fso.BuildPath(fso.GetSpecialFolder(2).Path, "brindlex-demo.txt")
start = Timer
WriteText path, text
readBack = ReadText(path)
fso.DeleteFile path
Require readBack = text, "the file holds the text to the character"
WScript.Echo "Written   and read back through " & path & " in " & Milliseconds(start)

start = Timer
Set restored = saveRestore.AsDelimitedToCollection(readBack, creator, , , "Name")
Require Not restored Is Nothing, "the collection is restored"
WScript.Echo "Restored  " & restored.Count & " records in " & Milliseconds(start)
CompareAll files, restored
WScript.Echo "Compared  every field of every record: all equal"

WScript.Echo "Looked up by name, whatever the letter case:"
LookUp files, 1, restored
LookUp files, files.Count \ 2, restored
LookUp files, files.Count, restored

Set large = LargeFiles(files, 1000000)
saveRestore.MultiDataString = saveRestore.MultiDataColString(files, "All files")
saveRestore.MultiDataString = saveRestore.MultiDataColString(large, "Large files")
CompareAll files, saveRestore.WorkingCol("all files", creator)
CompareAll large, saveRestore.WorkingCol("LARGE FILES", creator, "Name")
WScript.Echo "Kept      both lists, " & files.Count & " files and the " & large.Count & _
             " large ones, in one text of " & Len(saveRestore.MultiDataString) & " characters"

WScript.Echo "demo: done"
