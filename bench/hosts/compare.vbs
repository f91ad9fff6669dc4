' The component against the best that VBScript does by itself: 100,000 records of its own saved as
' text and restored. Prints the seconds of each way. All at the top of the script: the VBScript of
' Wine 8 ends without a word when one procedure makes some hundreds of objects.
Option Explicit

Const recordCount = 100000
Dim fieldEnd, recordEnd
fieldEnd = Chr(165)
recordEnd = Chr(140)

Dim names
Set names = CreateObject("Brindlex.clsCollection")
names.Add "Title", "Title"
names.Add "Author", "Author"
names.Add "Year", "Year"
names.Add "Price", "Price"
names.Add "Remarks", "Remarks"

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

Dim records, list(100000), i, made
Set records = CreateObject("Brindlex.clsCollection")
For i = 1 To recordCount
  Set made = New Record
  made.Title = "Title " & i * 7919
  made.Author = "An author"
  made.Year = "2026"
  made.Price = "12.50"
  made.Remarks = "remark " & i * 7919
  records.Add made
  Set list(i) = made
Next

Dim start, line, chunk, part, text, store, saved, lines, fields, restored(100000), back, run
Dim seconds(3)
Set store = CreateObject("Brindlex.clsCollectionSaveRestore")

' Keeps the quickest of the runs, which other programs on the machine have disturbed least.
Sub Keep(way, took)
  If IsEmpty(seconds(way)) Then
    seconds(way) = took
  ElseIf took < seconds(way) Then
    seconds(way) = took
  End If
End Sub

' Nothing that was made earlier is held while objects are made: memory that is freed meanwhile
' would serve one way and not the other.
For run = 1 To 3
  text = ""
  saved = ""
  ' Short strings joined to longer ones, since one that grows to the end is copied each time.
  start = Timer
  text = "Title" & fieldEnd & "Author" & fieldEnd & "Year" & fieldEnd
  text = text & "Price" & fieldEnd & "Remarks" & fieldEnd & recordEnd
  For i = 1 To recordCount
    Set made = list(i)
    line = made.Title & fieldEnd & made.Author & fieldEnd & made.Year & fieldEnd & made.Price
    chunk = chunk & line & fieldEnd & made.Remarks & fieldEnd & recordEnd
    If i Mod 50 = 0 Then
      part = part & chunk
      chunk = ""
      If i Mod 2500 = 0 Then
        text = text & part
        part = ""
      End If
    End If
  Next
  Keep 0, Timer - start

  start = Timer
  saved = store.AsDelimitedFromCollection(records)
  Keep 1, Timer - start
  If saved <> text Then
    WScript.Echo "the two texts differ"
    WScript.Quit 1
  End If

  Set back = Nothing
  start = Timer
  lines = Split(text, recordEnd)
  For i = 1 To UBound(lines) - 1
    fields = Split(lines(i), fieldEnd)
    Set made = New Record
    made.Title = fields(0)
    made.Author = fields(1)
    made.Year = fields(2)
    made.Price = fields(3)
    made.Remarks = fields(4)
    Set restored(i) = made
  Next
  Keep 2, Timer - start

  For i = 1 To recordCount
    Set restored(i) = Nothing
  Next
  Set made = Nothing
  lines = Empty
  start = Timer
  Set back = store.AsDelimitedToCollection(saved, New Creator)
  Keep 3, Timer - start
  If back.Count <> recordCount Then
    WScript.Echo "the restored counts differ"
    WScript.Quit 1
  End If
Next

WScript.Echo "vbscript save " & seconds(0) & " " & seconds(1)
WScript.Echo "vbscript restore " & seconds(2) & " " & seconds(3)
