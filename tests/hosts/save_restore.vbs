' The component in VBScript: records and creators are classes of the script.
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

Sub ExpectTagged(caption, firstLine, description, number, line, more)
  ExpectBox caption, firstLine & vbCrLf & vbCrLf & description & " Number: " & number & _
                     " Line: " & line & more
End Sub

Function NewCollection()
  Set NewCollection = CreateObject("Brindlex.clsCollection")
End Function

Function NamesOf(list)
  Dim name
  Set NamesOf = NewCollection()
  For Each name In list
    NamesOf.Add name, name
  Next
End Function

Class Item
  Private m_title
  Private m_price
  Private m_bought
  Private m_used

  Private Sub Class_Initialize
    m_title = ""
    m_price = 0
    m_bought = DateSerial(2000, 1, 1)
    m_used = False
  End Sub

  Public Property Get Title
    Title = m_title
  End Property
  Public Property Let Title(text)
    m_title = text
  End Property
  Public Property Get Price
    Price = m_price
  End Property
  Public Property Let Price(text)
    m_price = CDbl(text)
  End Property
  Public Property Get Bought
    Bought = m_bought
  End Property
  Public Property Let Bought(text)
    m_bought = CDate(text)
  End Property
  Public Property Get Used
    Used = m_used
  End Property
  Public Property Let Used(text)
    m_used = CBool(text)
  End Property

  Public Function GetMemberNames()
    Set GetMemberNames = NamesOf(Array("Title", "Price", "Bought", "Used"))
  End Function
End Class

Class CreateItem
  Public Function GetNewObject()
    Set GetNewObject = New Item
  End Function
End Class

' A record without a list of its own names.
Class Bare
  Public Value
End Class

' A record whose list names a property that it lacks.
Class Lacking
  Public Value
  Public Function GetMemberNames()
    Set GetMemberNames = NamesOf(Array("Value", "Other"))
  End Function
End Class

Class Raising
  Public Property Get Value
    Value = 1 \ 0
  End Property
  Public Function GetMemberNames()
    Set GetMemberNames = NamesOf(Array("Value"))
  End Function
End Class

Class CreateNothing
  Public Function GetNewObject()
    Set GetNewObject = Nothing
  End Function
End Class

Function NewItem(title, price, bought, used)
  Dim made
  Set made = New Item
  made.Title = title
  made.Price = price
  made.Bought = bought
  made.Used = used
  Set NewItem = made
End Function

Dim sr, items, text, restored, entry, position, fe, re
Set sr = CreateObject("Brindlex.clsCollectionSaveRestore")
Set items = NewCollection()
items.Add NewItem("Alpha", 1.5, DateSerial(2001, 2, 3) + TimeSerial(4, 5, 6), True), "first"
items.Add NewItem("", -0.25, DateSerial(1999, 12, 31), False)
items.Add NewItem("Gamma ray", 1000000, DateSerial(2026, 11, 21), True)

' Round trip
text = sr.AsDelimitedFromCollection(items)
fe = Mid(text, 6, 1)
re = Right(text, 1)
Check "header", "Title" & fe & "Price" & fe & "Bought" & fe & "Used" & fe & re, _
      Left(text, InStr(text, re))
Set restored = sr.AsDelimitedToCollection(text, New CreateItem, , , "Title")
Check "count", 3, restored.Count
For position = 1 To 3
  Check "title " & position, items(position).Title, restored(position).Title
  Check "price " & position, items(position).Price, restored(position).Price
  Check "bought " & position, CStr(items(position).Bought), CStr(restored(position).Bought)
  Check "used " & position, items(position).Used, restored(position).Used
Next
Check "key in another case", 1000000, restored("GAMMA RAY").Price
Check "type", vbDate, VarType(restored(1).Bought)

position = 0
For Each entry In restored
  position = position + 1
  Check "For Each " & position, items(position).Title, entry.Title
Next
Check "For Each ends", 3, position

' One object, the markers, the names
Check "one object", 1.5, sr.GetObjectFromString(sr.AsDelimitedFromObject(items(1)), New CreateItem).Price
text = sr.AsDelimitedFromCollection(items, "<end>", "|")
Check "own markers", "Title|Price|Bought|Used|<end>", Left(text, 29)
Check "own markers restored", 3, sr.AsDelimitedToCollection(text, New CreateItem, "<end>", "|").Count
Check "field names", 4, sr.FieldNamesCollection(text, "<end>", "|").Count
Check "a field name", "Bought", sr.FieldNamesCollection(text, "<end>", "|")("bought")
Check "ItemExists", True, sr.ItemExists(sr.FieldNamesCollection(text, "<end>", "|"), "PRICE")
Check "ItemExists not", False, sr.ItemExists(sr.FieldNamesCollection(text, "<end>", "|"), "Prices")
Check "empty collection", "", sr.AsDelimitedFromCollection(NewCollection())
Check "empty text", True, sr.AsDelimitedToCollection("", New CreateItem) Is Nothing
Check "empty text, one object", True, sr.GetObjectFromString("", New CreateItem) Is Nothing

' Several collections in one text; the arguments are passed by reference and stay as they are
Dim name, few
name = "Few"
Set few = NewCollection()
few.Add items(3)
sr.MultiDataString = sr.MultiDataColString(items, "All")
sr.MultiDataString = sr.MultiDataColString(few, name)
Check "name unchanged", "Few", name
Check "collection unchanged", 1, few.Count
Check "all", 3, sr.WorkingCol("ALL", New CreateItem).Count
Check "few", "Gamma ray", sr.WorkingCol("few", New CreateItem, "Title")("gamma ray").Title
Check "unknown name", True, sr.WorkingCol("none", New CreateItem) Is Nothing
Dim byText
byText = sr.MultiDataColString(few, "ALL")
Check "stored", True, sr.StoreCollection(few, "ALL")
Check "the text as by the longer way", byText, sr.MultiDataString
Dim listed
Set listed = sr.CollectionNames
Check "names", "ALL Few", listed(1) & " " & listed("few")
Check "removed", True, sr.RemoveCollection("all")
Check "removed before", False, sr.RemoveCollection("all")
Check "names left", 1, sr.CollectionNames.Count

' Errors of the collection, as the script sees them
On Error Resume Next
items.Add 1, "FIRST"
Check "key in use", 457, Err.Number
Check "key in use, text", "This key is already associated with an element of this collection", Err.Description
Check "key in use, source", "Brindlex", Err.Source
Err.Clear
items.Item "absent"
Check "absent key", 5, Err.Number
Err.Clear
items.Item 4
Check "out of range", 9, Err.Number
Err.Clear
items.Remove 0
Check "out of range", 9, Err.Number
Err.Clear
Set restored = sr.FieldNamesCollection("a" & fe & "A" & fe & re)
Check "a field name twice", 457, Err.Number
Err.Clear

' Reports
Dim bad
Set bad = NewCollection()
bad.Add New Lacking
ExpectTagged "Error DFC", "Error DFC", "Object doesn't support this property or method", 438, 5, " Member Name: Other"
Check "a member that is not there", "", sr.AsDelimitedFromCollection(bad)

Set bad = NewCollection()
bad.Add New Raising
ExpectTagged "Error DFC", "Error DFC", "Division by zero", 11, 5, " Member Name: Value"
Check "a getter that raises", "", sr.AsDelimitedFromCollection(bad)

Set bad = NewCollection()
bad.Add NewItem("a" & fe & "b", 1, DateSerial(2001, 2, 3), True)
sr.RefuseMarkers = True
ExpectTagged "Error DFC", "Error DFC", "Value contains the field end marker, record number 1", 0, 0, " Member Name: Title"
Check "a value with a marker", "", sr.AsDelimitedFromCollection(bad)
Check "the switch, read", True, sr.RefuseMarkers
sr.RefuseMarkers = False
Check "written as it is", True, InStr(sr.AsDelimitedFromCollection(bad), re & "a" & fe & "b" & fe & "1" & fe) > 0

ExpectTagged "Error ADTC", "Error ADTC", "Fields in record don't match field list, record number 2", 0, 0, ""
Check "a record too short", True, sr.AsDelimitedToCollection("Title|Price|;a|1|;b|;", New CreateItem, ";", "|") Is Nothing

ExpectTagged "Error ADTC", "Error ADTC", "Type mismatch", 13, 7, ""
Check "a value that does not convert", True, sr.AsDelimitedToCollection("Title|Price|;a||;", New CreateItem, ";", "|") Is Nothing

ExpectTagged "Error ADTC", "Error ADTC", "Object variable or With block variable not set", 91, 3, ""
Check "a creator of Nothing", True, sr.AsDelimitedToCollection("Title|;a|;", New CreateNothing, ";", "|") Is Nothing

ExpectBox "Application Error", "Invalid procedure call or argument No. 5" & vbCrLf & _
          "in Brindlex.clsCollectionSaveRestore.SplitString at line 0"
ExpectTagged "Error ADTC", "Error ADTC", "Subscript out of range", 9, 4, ""
Check "a text without a record end", True, sr.AsDelimitedToCollection("Title", New CreateItem, ";", "|") Is Nothing

ExpectBox "Application Error", "Object variable or With block variable not set No. 91" & vbCrLf & _
          "in zrKX4.clsCollectionSaveRestore.GetObjectFromString at line 0"
Check "no first record", True, sr.GetObjectFromString("Title" & fe & re, New CreateItem) Is Nothing

ExpectTagged "Error ADTC", "Error ADTC", "This key is already associated with an element of this collection", 457, 8, ""
Check "a key twice", True, sr.AsDelimitedToCollection("Title|;a|;A|;", New CreateItem, ";", "|", "Title") Is Nothing

If Err.Number <> 0 Then
  failures = failures + 1
  WScript.Echo "FAILED: an operation let error " & Err.Number & " out: " & Err.Description
End If
If failures = 0 Then WScript.Echo "all passed"
