' The component against the best that VBScript does by itself: 100,000 records of its own class saved
' as text and restored. Prints the seconds of each way.
Option Explicit

Class Record
  Public Title
  Public Author
  Public Year
  Public Price
  Public Remarks
  Public Function GetMemberNames()
    Set GetMemberNames = names
  End Function
End Class

Class Creator
  Public Function GetNewObject()
    Set GetNewObject = New Record
  End Function
End Class

Const RecordCount = 100000
Dim names, records, items, i, record, fieldEnd, recordEnd

fieldEnd = Chr(165)
recordEnd = Chr(140)
Set names = CreateObject("Brindlex.clsCollection")
For Each i In Array("Title", "Author", "Year", "Price", "Remarks")
  names.Add i, i
Next
Set records = CreateObject("Brindlex.clsCollection")
For i = 1 To RecordCount
  Set record = New Record
  record.Title = "Title " & i * 7919
  record.Author = "An author"
  record.Year = "2026"
  record.Price = "12.50"
  record.Remarks = "remark " & i * 7919
  records.Add record
Next

' In pieces that stay short, since a long text is copied by every concatenation.
Function SaveByScript()
  Dim record, piece, part, whole, count
  For Each record In records
    part = part & record.Title & fieldEnd & record.Author & fieldEnd & record.Year & fieldEnd & _
      record.Price & fieldEnd & record.Remarks & fieldEnd & recordEnd
    count = count + 1
    If count Mod 32 = 0 Then
      piece = piece & part
      part = ""
      If count Mod 1024 = 0 Then
        whole = whole & piece
        piece = ""
      End If
    End If
  Next
  SaveByScript = "Title" & fieldEnd & "Author" & fieldEnd & "Year" & fieldEnd & "Price" & _
    fieldEnd & "Remarks" & fieldEnd & recordEnd & whole & piece & part
End Function

Function RestoreByScript(text)
  Dim lines, fields, line, restored()
  lines = Split(text, recordEnd)
  ReDim restored(UBound(lines))
  For line = 1 To UBound(lines) - 1
    fields = Split(lines(line), fieldEnd)
    Set restored(line) = New Record
    restored(line).Title = fields(0)
    restored(line).Author = fields(1)
    restored(line).Year = fields(2)
    restored(line).Price = fields(3)
    restored(line).Remarks = fields(4)
  Next
  RestoreByScript = UBound(lines) - 1
End Function

Dim store, start, text, own, restored, count, seconds(3), run
Set store = CreateObject("Brindlex.clsCollectionSaveRestore")
For run = 1 To 3
  start = Timer
  own = SaveByScript()
  Keep 0
  start = Timer
  text = store.AsDelimitedFromCollection(records)
  Keep 1
  If own <> text Then
    WScript.Echo "the two texts differ"
    WScript.Quit 1
  End If
  start = Timer
  count = RestoreByScript(text)
  Keep 2
  start = Timer
  Set restored = store.AsDelimitedToCollection(text, New Creator)
  Keep 3
  If restored.Count <> count Or count <> RecordCount Then
    WScript.Echo "the restored counts differ"
    WScript.Quit 1
  End If
  Set restored = Nothing
Next

' The quickest of the runs, which other programs on the machine have disturbed least.
Sub Keep(way)
  Dim took
  took = Timer - start
  If run = 1 Or took < seconds(way) Then seconds(way) = took
End Sub

WScript.Echo "vbscript save " & seconds(0) & " " & seconds(1)
WScript.Echo "vbscript restore " & seconds(2) & " " & seconds(3)
