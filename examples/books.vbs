' Keeps a list of books in a file, in VBScript. The record and its creator are classes of this script.
'
'   cscript //nologo books.vbs

Option Explicit

Class Book
  Public Title
  Private m_price

  Public Property Get Price
    Price = m_price
  End Property
  Public Property Let Price(value)
    m_price = CDbl(value)                 ' restoring brings every value as text
  End Property

  ' The fields in the order in which they are written, each under itself as key.
  Public Function GetMemberNames()
    Dim names
    Set names = CreateObject("Brindlex.clsCollection")
    names.Add "Title", "Title"
    names.Add "Price", "Price"
    Set GetMemberNames = names
  End Function
End Class

Class CreateBook
  Public Function GetNewObject()
    Set GetNewObject = New Book
  End Function
End Class

Function NewBook(title, price)
  Set NewBook = New Book
  NewBook.Title = title
  NewBook.Price = price
End Function

Dim books, saver, files, path, restored, entry, bases
Set books = CreateObject("Brindlex.clsCollection")
Set saver = CreateObject("Brindlex.clsCollectionSaveRestore")
Set files = CreateObject("Brindlex.clsAppFiles")
path = CreateObject("Scripting.FileSystemObject").GetSpecialFolder(2) & "\vbs books.txt"

books.Add NewBook("Moby Dick", 12.5)
books.Add NewBook("Emma", 9)
If Not files.SaveTextFile(path, saver.AsDelimitedFromCollection(books), False) Then WScript.Quit 1

Set restored = saver.AsDelimitedToCollection(files.ReadTextFile(path, False), New CreateBook, , , "Title")
CreateObject("Scripting.FileSystemObject").DeleteFile path
If restored Is Nothing Then WScript.Quit 1
For Each entry In restored
  WScript.Echo entry.Title & " costs " & entry.Price
Next
If restored("EMMA").Price <> 9 Then WScript.Quit 1

Set bases = CreateObject("Brindlex.clsBases")
WScript.Echo "2026 in base 16: " & bases.ConvertDec2Base(2026, 16)
If bases.ConvertDec2Base(2026, 16) <> "7EA" Then WScript.Quit 1
If bases.ConvertBase2Dec("7EA", 16) <> 2026 Then WScript.Quit 1

On Error Resume Next
restored.Item "no such book"
WScript.Echo "Error " & Err.Number & ": " & Err.Description
If Err.Number <> 5 Then WScript.Quit 1
WScript.Echo "books: done"
