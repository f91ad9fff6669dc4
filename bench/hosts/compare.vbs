' The component against the best that VBScript does by itself: 100,000 records of its own class saved
' as text. Prints the seconds of each way. Restoring is left out: the VBScript that this runs in ends
' without a word when a function makes some hundreds of objects.
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

Const RecordCount = 100000
Dim names, records, i, record, fieldEnd, recordEnd

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

Dim store, start, text, own, took, scriptSeconds, componentSeconds, run
Set store = CreateObject("Brindlex.clsCollectionSaveRestore")
scriptSeconds = 1000
componentSeconds = 1000
' The quickest of the runs, which other programs on the machine have disturbed least.
For run = 1 To 3
  start = Timer
  own = SaveByScript()
  took = Timer - start
  If took < scriptSeconds Then scriptSeconds = took
  start = Timer
  text = store.AsDelimitedFromCollection(records)
  took = Timer - start
  If took < componentSeconds Then componentSeconds = took
  If own <> text Then
    WScript.Echo "the two texts differ"
    WScript.Quit 1
  End If
Next

WScript.Echo "vbscript save " & scriptSeconds & " " & componentSeconds
